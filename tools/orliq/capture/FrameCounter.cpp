// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/FrameCounter.h"

#include <algorithm>
#include <utility>

#include "decoder/DecoderFactory.h"

namespace orliq::cli {
namespace {

using Factory = lidar::DecoderFactory<PointCloud<Point>>;

/// Packets that a whole frame has at least, judged by the frames between two marks: the fewest of
/// them, where one that lost more than a tenth is no measure. With one mark there is no such frame,
/// and nothing is certain: what follows the mark is the measure, or of a mark that comes first the
/// larger part.
std::uint64_t LeastPackets(const std::vector<FrameRecords>& frames, lidar::FrameMark mark) {
  std::vector<std::uint64_t> packets;
  for (std::size_t i = 1; i + 1 < frames.size(); ++i) packets.push_back(frames[i].packets);
  if (packets.empty()) {
    const std::uint64_t behind = frames.back().packets;
    return mark == lidar::FrameMark::Last ? behind : std::max(behind, frames.front().packets);
  }
  std::sort(packets.begin(), packets.end());
  const std::uint64_t median = packets[packets.size() / 2];
  return *std::find_if(packets.begin(), packets.end(),
                       [&](std::uint64_t count) { return 10 * count >= 9 * median; });
}

}  // namespace

WholeFrames FindWholeFrames(const std::vector<FrameRecords>& frames, const Model& model) {
  if (frames.size() < 2 || !model.delivers_frames) return {};
  const std::uint64_t least = LeastPackets(frames, model.frame_mark);
  const bool ends_whole =
      model.frame_mark == lidar::FrameMark::First && frames.back().packets >= least;
  return {frames.front().packets >= least ? 0 : 1,
          static_cast<int>(frames.size()) - (ends_whole ? 0 : 1)};
}

void FrameSums::Add(const std::vector<FrameRecords>& frames, const Model& model) {
  const WholeFrames found = FindWholeFrames(frames, model);
  whole += static_cast<std::uint64_t>(found.last - found.first);
  for (int i = 0; i < static_cast<int>(frames.size()); ++i) {
    if (found.Holds(i)) continue;
    (i < found.first ? packets_before : packets_after) +=
        frames[static_cast<std::size_t>(i)].packets;
  }
}

FrameCounter::FrameCounter(const Model& model)
    : FrameCounter(model, Factory::CreateDecoder(model.type, {})) {}

FrameCounter::FrameCounter(const Model& model, std::shared_ptr<Decoder> decoder)
    : model_(&model), decoder_(std::move(decoder)) {}

/// A mark at the end of a frame stands in the packet itself, and one decoder serves all flows. What
/// bounds a frame at its beginning is mostly a number that falls: that takes the packet before.
FrameCounter FrameCounter::ForAnotherFlow() const {
  if (model_->frame_mark == lidar::FrameMark::Last) return {*model_, decoder_};
  return FrameCounter(*model_);
}

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
    std::uint16_t behind = 0;
    const bool mark = decoder_->SplitFrame(datagram.payload, datagram.payload_bytes, behind);
    AddPacket(mark, first);
  }
}

/// A mark in the very first packet has no frame before it.
void FrameCounter::AddPacket(bool mark, bool first) {
  const bool bounds = mark && !first;
  if (bounds && model_->frame_mark == lidar::FrameMark::First) frames_.emplace_back();
  ++frames_.back().packets;
  if (bounds && model_->frame_mark == lidar::FrameMark::Last) frames_.emplace_back();
}

}  // namespace orliq::cli
