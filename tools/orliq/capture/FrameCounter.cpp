// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/FrameCounter.h"

#include <algorithm>
#include <cstddef>
#include <utility>

#include "decoder/DecoderFactory.h"
#include "decoder/corvik/CorvikPacket.h"

namespace orliq::cli {
namespace {

using Factory = lidar::DecoderFactory<PointCloud<Point>>;

/// Packets that a frame has if none is lost: of a Corvik one for each line; 0 for the other models.
std::uint64_t FixedPackets(const Model& model) {
  return model.type == lidar::LidarType::Corvik ? model.rings : 0;
}

/// Frames beside a false bound. Where the packets of two sensors alternate, bounds may look good, but
/// the frames between them have few packets.
std::set<int> FindTorn(const std::vector<FrameRecords>& frames, const Model& model) {
  std::set<int> torn;
  for (std::size_t i = 0; i < frames.size(); ++i) {
    const bool ends = i == 0 || i + 1 == frames.size();
    const bool scrap = !ends && 2 * frames[i].packets < FixedPackets(model);
    if (frames[i].falsely_bound || scrap) torn.insert(static_cast<int>(i));
  }
  return torn;
}

/// Packets that a whole frame has at least, judged by the frames between two marks: the fewest of
/// them, where one that lost more than a tenth is no measure. With one mark there is no such frame,
/// and nothing is certain: the larger of the two parts is the measure, unless the number is fixed.
std::uint64_t LeastPackets(const std::vector<FrameRecords>& frames, const Model& model,
                           const std::set<int>& torn) {
  std::vector<std::uint64_t> packets;
  for (std::size_t i = 1; i + 1 < frames.size(); ++i) {
    if (torn.count(static_cast<int>(i)) == 0) packets.push_back(frames[i].packets);
  }
  if (packets.empty() && FixedPackets(model) > 0) return (9 * FixedPackets(model) + 9) / 10;
  if (packets.empty()) return std::max(frames.front().packets, frames.back().packets);
  std::sort(packets.begin(), packets.end());
  const std::uint64_t median = packets[packets.size() / 2];
  return *std::find_if(packets.begin(), packets.end(),
                       [&](std::uint64_t count) { return 10 * count >= 9 * median; });
}

}  // namespace

WholeFrames FindWholeFrames(const std::vector<FrameRecords>& frames, const Model& model) {
  if (frames.size() < 2 || !model.delivers_frames) return {};
  std::set<int> torn = FindTorn(frames, model);
  const std::uint64_t least = LeastPackets(frames, model, torn);
  const bool ends_whole =
      model.frame_mark == lidar::FrameMark::First && frames.back().packets >= least;
  return {frames.front().packets >= least ? 0 : 1,
          static_cast<int>(frames.size()) - (ends_whole ? 0 : 1), std::move(torn)};
}

void FrameSums::Add(const std::vector<FrameRecords>& frames, const Model& model) {
  const WholeFrames found = FindWholeFrames(frames, model);
  torn += found.torn.size();
  for (int i = 0; i < static_cast<int>(frames.size()); ++i) {
    const std::uint64_t packets = frames[static_cast<std::size_t>(i)].packets;
    if (found.Holds(i)) ++whole;
    if (i < found.first) packets_before += packets;
    if (i >= found.last) packets_after += packets;
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
    const bool torn = IsFalseBound(datagram.payload, mark && !first);
    if (torn) frames_.back().falsely_bound = true;
    AddPacket(mark, first);
    if (torn) frames_.back().falsely_bound = true;
  }
}

/// A Corvik's line falls from one of the last to one of the first where a frame begins, also when
/// packets are lost there; it falls less where packets come out of order.
bool FrameCounter::IsFalseBound(const std::uint8_t* payload, bool bounds) {
  if (model_->type != lidar::LidarType::Corvik) return false;
  const int before = std::exchange(line_, payload[offsetof(lidar::CorvikMsop, line)]);
  return bounds && (before >= model_->rings || 2 * (before - line_) < model_->rings);
}

/// A mark in the very first packet has no frame before it.
void FrameCounter::AddPacket(bool mark, bool first) {
  const bool bounds = mark && !first;
  if (bounds && model_->frame_mark == lidar::FrameMark::First) frames_.emplace_back();
  ++frames_.back().packets;
  if (bounds && model_->frame_mark == lidar::FrameMark::Last) frames_.emplace_back();
}

}  // namespace orliq::cli
