// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/FrameCounter.h"

#include <algorithm>
#include <utility>

#include "decoder/DecoderFactory.h"

namespace orliq::cli {
namespace {

/// Packets that a whole frame has at least, judged by the frames between two marks: the fewest of
/// them, where one that lost more than a tenth is no measure. With one mark there is no such frame:
/// what follows it is the measure, as a part of a frame, and nothing is certain.
std::uint64_t LeastPackets(const std::vector<FrameRecords>& frames) {
  std::vector<std::uint64_t> packets;
  for (std::size_t i = 1; i + 1 < frames.size(); ++i) packets.push_back(frames[i].packets);
  if (packets.empty()) return frames.back().packets;
  std::sort(packets.begin(), packets.end());
  const std::uint64_t median = packets[packets.size() / 2];
  return *std::find_if(packets.begin(), packets.end(),
                       [&](std::uint64_t count) { return 10 * count >= 9 * median; });
}

}  // namespace

WholeFrames FindWholeFrames(const std::vector<FrameRecords>& frames) {
  if (frames.size() < 2) return {};
  const bool begins_whole = frames.front().packets >= LeastPackets(frames);
  return {begins_whole ? 0 : 1, static_cast<int>(frames.size()) - 1};
}

void FrameSums::Add(const std::vector<FrameRecords>& frames) {
  const WholeFrames found = FindWholeFrames(frames);
  whole += static_cast<std::uint64_t>(found.last - found.first);
  if (found.first > 0) packets_before += frames.front().packets;
  packets_after += frames.back().packets;
}

FrameCounter::FrameCounter(const Model& model)
    : model_(&model),
      decoder_(lidar::DecoderFactory<PointCloud<Point>>::CreateDecoder(model.type, {})) {}

void FrameCounter::Add(const UdpRecord& record) {
  if (!record.skip) return AddDatagram(*record.datagram);
  if (!NameOf(*record.skip).loss) return;
  // What is too large or cut reaches the decoder, which refuses it for its length.
  const bool refused = *record.skip == Skip::kTooLarge || *record.skip == Skip::kCut;
  ++(refused ? frames_.back().length : frames_.back().unreadable[*record.skip]);
  // Only a VLAN tag hides a datagram from the driver's filter.
  if (record.datagram && *record.skip != Skip::kVlan) first_ = false;
}

void FrameCounter::AddDatagram(const Datagram& datagram) {
  const bool first = std::exchange(first_, false);
  if (datagram.payload_bytes != model_->packet_bytes) {
    ++frames_.back().length;
  } else if (!Fits(*model_, datagram.payload, datagram.payload_bytes)) {
    ++frames_.back().identifier;
  } else {
    ++frames_.back().packets;
    std::uint16_t behind = 0;
    const bool mark = decoder_->SplitFrame(datagram.payload, datagram.payload_bytes, behind);
    // A mark in the very first packet has no frame before it: frame 0 begins behind it.
    if (mark && !first) frames_.emplace_back();
  }
}

}  // namespace orliq::cli
