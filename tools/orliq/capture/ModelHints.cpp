// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/ModelHints.h"

#include <algorithm>
#include <array>

#include "decoder/brantis/BrantisPacket.h"
#include "decoder/corvik/CorvikModel.h"
#include "decoder/fennix/FennixPacket.h"
#include "decoder/glavor/GlavorPacket.h"
#include "param/CheckParam.h"

namespace orliq::cli {
namespace {

constexpr unsigned kCorvikLines = lidar::kCorvik.LASER_NUM;
constexpr unsigned kCounterReach = 16;  // more than a counter moves on, lost packets included
constexpr unsigned kFewestSteps = 3;    // of a counter: less may be a damaged packet

/// A packet whose length has been found to be that of the model.
template <typename Msop>
const Msop& View(const std::uint8_t* payload) {
  return *lidar::PacketAs<Msop>(payload, sizeof(Msop));
}

/// Whether beam positions stand at the beginnings of the blocks: each within the tables, and all
/// different, as no beam measures twice in a packet. With blocks of another size the same bytes are
/// pulses, which hardly pass for such a list.
template <typename Msop>
bool HoldsBeamPositions(const Msop& msop) {
  std::array<unsigned, Msop::kBlocks> positions;
  std::transform(std::begin(msop.blocks), std::end(msop.blocks), positions.begin(),
                 [](const auto& block) { return block.column + 256U * block.row; });
  std::sort(positions.begin(), positions.end());
  return positions.back() < lidar::kBeamPositions &&
         std::adjacent_find(positions.begin(), positions.end()) == positions.end();
}

/// A sensor whose clock was never set begins in 1970.
bool IsDate(const lidar::UTCBlock& utc) {
  return utc.year >= 1970 && utc.year < 2100 && utc.month >= 1 && utc.month <= 12 && utc.day >= 1 &&
         utc.day <= 31 && utc.hour < 24 && utc.minute < 60 && utc.second <= 60 &&
         utc.microsecond < 1000000;
}

/// Nearly all: some packets may be damaged.
bool Nearly(std::uint64_t part, std::uint64_t all) {
  return all > 0 && 100 * part >= 95 * all;
}

/// Hardly any: some packets may be damaged.
bool Hardly(std::uint64_t part, std::uint64_t all) {
  return 20 * part <= all;
}

Likely Hint(const char* model, const char* why) {
  return {lidar::FindSensorModel(model), why};
}

}  // namespace

void ModelHints::Add(const std::uint8_t* payload, std::size_t size) {
  if (++seen_ > kPacketsSeen) return;
  if (Fits(*lidar::FindSensorModel(lidar::LidarType::Glavor), payload, size)) AddBlocks(payload);
  if (Fits(*lidar::FindSensorModel(lidar::LidarType::Corvik), payload, size)) AddLine(payload);
}

void ModelHints::AddBlocks(const std::uint8_t* payload) {
  ++of_blocks_;
  if (HoldsBeamPositions(View<lidar::GlavorMsop>(payload))) ++like_glavor_;
  if (HoldsBeamPositions(View<lidar::FennixMsop>(payload))) ++like_fennix_;
}

void ModelHints::AddLine(const std::uint8_t* payload) {
  ++of_lines_;
  const auto& corvik = View<lidar::CorvikMsop>(payload);
  if (corvik.line < kCorvikLines && IsDate(corvik.utc)) ++like_corvik_;
  if (corvik.line < kCorvikLines && corvik.line > 0) ++lines_;
  if (std::all_of(payload + sizeof corvik.identifier, payload + sizeof corvik,
                  [](std::uint8_t byte) { return byte == 0; })) {
    ++empty_;
  }
  const std::uint16_t counter = View<lidar::BrantisMsop>(payload).frame_counter;
  if (counter_ && *counter_ != counter) {
    const auto step = static_cast<std::uint16_t>(counter - *counter_);
    ++(step <= kCounterReach ? count_ups_ : count_leaps_);
  }
  counter_ = counter;
}

Likely ModelHints::Find() const {
  return of_blocks_ >= of_lines_ ? FindAmongBlocks() : FindAmongLines();
}

Likely ModelHints::FindLike(const Model& model) const {
  const auto as_long_as = [&](lidar::LidarType type) {
    return model.packet_bytes == lidar::FindSensorModel(type)->packet_bytes;
  };
  if (as_long_as(lidar::LidarType::Glavor)) return FindAmongBlocks();
  if (as_long_as(lidar::LidarType::Corvik)) return FindAmongLines();
  return {};
}

Likely ModelHints::FindAmongBlocks() const {
  const bool glavor = Nearly(like_glavor_, of_blocks_);
  const bool fennix = Nearly(like_fennix_, of_blocks_);
  if (glavor == fennix) return {};
  return glavor ? Hint("glavor", "32 different beam positions stand 40 bytes apart")
                : Hint("fennix", "32 different beam positions stand 25 bytes apart");
}

Likely ModelHints::FindAmongLines() const {
  if (Nearly(like_corvik_, of_lines_)) {
    return Hint("corvik", "line numbers below 56 and a date in the packets");
  }
  if (Hardly(lines_, of_lines_) && count_ups_ >= kFewestSteps && Hardly(count_leaps_, count_ups_)) {
    return Hint("brantis", "a number that counts up, and no lines of a corvik");
  }
  if (Nearly(empty_, of_lines_)) {
    return Hint("hestra", "only because the packets hold nothing but zeros");
  }
  return {};
}

}  // namespace orliq::cli
