// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/FrameRemarks.h"

#include <algorithm>

#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kNumbersShown = 5;

/// Packets of a usual frame between two marks; 0 without any. Of an even number of frames the lower
/// middle one, as a frame is joined to the next rather than halved.
std::uint64_t UsualPackets(const std::vector<FrameRecords>& frames, const Model& model) {
  const std::set<int> torn = FindWholeFrames(frames, model).torn;
  std::vector<std::uint64_t> packets;
  for (std::size_t i = 1; i + 1 < frames.size(); ++i) {
    if (torn.count(static_cast<int>(i)) == 0) packets.push_back(frames[i].packets);
  }
  std::sort(packets.begin(), packets.end());
  return packets.empty() ? 0 : packets[(packets.size() - 1) / 2];
}

}  // namespace

std::string TornText(const std::vector<FrameRecords>& frames, const Model& model) {
  const std::size_t torn = FindWholeFrames(frames, model).torn.size();
  if (torn == 0) return {};
  return Grouped(torn) + " of " + Count(frames.size(), "frame") +
         (torn == 1 ? " is a mere piece" : " are mere pieces") +
         ": packets come out of order, are of two sensors, or too many of them are lost";
}

std::string JoinedText(const std::vector<FrameRecords>& frames, const Model& model) {
  const std::uint64_t usual = UsualPackets(frames, model);
  if (usual == 0 || !model.delivers_frames) return {};
  std::string numbers;
  std::size_t joined = 0;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    if (2 * frames[i].packets <= 3 * usual) continue;
    if (++joined <= kNumbersShown) numbers += (joined == 1 ? " " : ", ") + std::to_string(i);
  }
  if (joined == 0) return {};
  return (joined == 1 ? "frame" : "frames") + numbers + (joined > kNumbersShown ? ", ..." : "") +
         (joined == 1 ? " has" : " have") +
         " far more packets than the others: perhaps the mark was lost between two frames";
}

std::string SingleMarkText(const std::vector<FrameRecords>& frames, const Model& model) {
  if (frames.size() != 2 || !model.delivers_frames) return {};
  return model.frame_mark == lidar::FrameMark::First
             ? "with one frame mark nothing tells whether the frames beside it are whole"
             : "with one frame mark nothing tells whether the frame before it is whole";
}

}  // namespace orliq::cli
