// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/PacketFaults.h"

#include <string_view>
#include <utility>

namespace orliq::sim {
namespace {

constexpr std::size_t kLongestExcess = 64;   // [bytes]
constexpr std::size_t kIdentifierBytes = 4;  // of the shortest one

// A satellite receiver that sends its sentences to everyone.
constexpr std::string_view kForeign = "$GPRMC,000000,V,,,,,,,,,,N*53\r\n";

/// Of `choices` equally likely numbers from 0 on, the one that a draw even over [0, 1) stands for.
std::size_t Choose(double draw, std::size_t choices) {
  return static_cast<std::size_t>(draw * static_cast<double>(choices));
}

/// Any length from 1 on but the right one: the end is missing, or zeros follow it.
void SpoilLength(std::vector<std::uint8_t>& payload, double draw) {
  const std::size_t right = payload.size();
  const std::size_t other = 1 + Choose(draw, right - 1 + kLongestExcess);
  payload.resize(other < right ? other : other + 1);
}

void SpoilIdentifier(std::vector<std::uint8_t>& payload, double place, double change) {
  payload[Choose(place, kIdentifierBytes)] ^= static_cast<std::uint8_t>(1 + Choose(change, 255));
}

}  // namespace

PacketFaults::PacketFaults(const PacketFaultRates& rates, std::uint64_t seed,
                           std::size_t packets_per_frame)
    : rates_(rates), seed_(seed), packets_per_frame_(packets_per_frame) {}

void PacketFaults::Pass(Packet packet, std::vector<Packet>& arriving) {
  const Fate fate = Draw();
  const double now = packet.time_s;
  const bool lost = fate.hit[PacketFault::kLost];
  if (lost) {
    ++counts_[PacketFault::kLost];
  } else {
    Arrive(std::move(packet), fate, arriving);
  }
  if (fate.hit[PacketFault::kForeign]) {
    ++counts_[PacketFault::kForeign];
    arriving.push_back({{kForeign.begin(), kForeign.end()}, now});
  }
}

void PacketFaults::Finish(std::vector<Packet>& arriving) {
  if (overtaken_) arriving.push_back(std::move(*overtaken_));
  overtaken_.reset();
}

PacketFaults::Fate PacketFaults::Draw() {
  if (packets_ % packets_per_frame_ == 0) {
    chance_.clear();
    for (std::size_t i = 0; i < kPacketFaults; ++i) {
      chance_.emplace_back(seed_, kPacketFaultStreams + i, packets_ / packets_per_frame_);
    }
  }
  ++packets_;
  Fate fate;
  for (std::size_t i = 0; i < kPacketFaults; ++i) {
    fate.hit.values[i] = chance_[i].Chance(rates_.values[i]);
  }
  const auto draw = [this](PacketFault fault) {
    return chance_[static_cast<std::size_t>(fault)].Uniform(0.0, 1.0);
  };
  fate.length = draw(PacketFault::kWrongLength);
  fate.place = draw(PacketFault::kWrongIdentifier);
  fate.change = draw(PacketFault::kWrongIdentifier);
  return fate;
}

void PacketFaults::Arrive(Packet packet, const Fate& fate, std::vector<Packet>& arriving) {
  const double now = packet.time_s;
  const bool damaged =
      fate.hit[PacketFault::kWrongLength] || fate.hit[PacketFault::kWrongIdentifier];
  const bool duplicated = !damaged && fate.hit[PacketFault::kDuplicated];
  const bool swapped = !damaged && !duplicated && fate.hit[PacketFault::kSwapped];
  if (swapped && !overtaken_) {
    overtaken_ = std::move(packet);
    return;
  }
  if (damaged) Damage(packet, fate);
  if (duplicated) {
    ++counts_[PacketFault::kDuplicated];
    arriving.push_back(packet);
  }
  arriving.push_back(std::move(packet));
  if (!overtaken_) return;
  ++counts_[PacketFault::kSwapped];
  overtaken_->time_s = now;
  Finish(arriving);
}

void PacketFaults::Damage(Packet& packet, const Fate& fate) {
  if (fate.hit[PacketFault::kWrongLength]) {
    ++counts_[PacketFault::kWrongLength];
    SpoilLength(packet.payload, fate.length);
  } else {
    ++counts_[PacketFault::kWrongIdentifier];
    SpoilIdentifier(packet.payload, fate.place, fate.change);
  }
}

}  // namespace orliq::sim
