// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/PacketFaults.h"

#include <gmock/gmock.h>

#include <set>

namespace orliq::sim {
namespace {

constexpr unsigned kPackets = 10'000;
constexpr std::size_t kBytes = 100;
const std::vector<std::uint8_t> kIdentifier = {0xEE, 0xFF, 0x01, 0xFF};

/// What arrives when a sensor sends its numbered packets, one a second.
std::vector<Packet> Arriving(PacketFaults& faults) {
  std::vector<Packet> arriving;
  for (unsigned i = 0; i < kPackets; ++i) {
    Packet packet = {kIdentifier, static_cast<double>(i)};
    packet.payload.resize(kBytes);
    packet.payload[4] = static_cast<std::uint8_t>(i >> 8U);
    packet.payload[5] = static_cast<std::uint8_t>(i);
    faults.Pass(packet, arriving);
  }
  faults.Finish(arriving);
  return arriving;
}

/// A receiver's own count of what is wrong with the packets.
struct Received {
  explicit Received(const std::vector<Packet>& packets) {
    double time = 0.0;
    int before = -1;
    for (const auto& [payload, time_s] : packets) {
      EXPECT_GE(time_s, time);
      time = time_s;
      const bool marked = std::equal(kIdentifier.begin(), kIdentifier.end(), payload.begin());
      if (payload[0] == '$' && payload.size() < kBytes) {
        ++counts[PacketFault::kForeign];
      } else if (payload.size() != kBytes) {
        ++counts[PacketFault::kWrongLength];
      } else {
        const int number = payload[4] << 8 | payload[5];
        if (!marked) ++counts[PacketFault::kWrongIdentifier];
        if (!numbers.insert(number).second) ++counts[PacketFault::kDuplicated];
        if (number < before) ++counts[PacketFault::kSwapped];
        before = number;
      }
    }
    counts[PacketFault::kLost] = kPackets - numbers.size() - counts[PacketFault::kWrongLength];
  }
  PacketFaultCounts counts;
  std::set<int> numbers;
};

// Shares of lost, wrong length, wrong identifier, duplicated, swapped, foreign. A packet overtaken
// by one of wrong length cannot be told, as that has no number.
TEST(PacketFaults, AreCountedAsAReceiverFindsThem) {
  const std::array<double, kPacketFaults> rows[] = {
      {0.1, 0.2, 0.1, 0.1, 0, 0.1}, {0.1, 0, 0.2, 0.1, 0.3, 0.2}, {1, 1, 1, 1, 1, 1}, {}};
  for (const auto& row : rows) {
    PacketFaults faults({row}, 1, 768);
    EXPECT_EQ(Received(Arriving(faults)).counts.values, faults.Counts().values);
    double spared = kPackets;
    for (std::size_t i = 0; i < 4; ++i) {  // the first fault that hits is the only one
      EXPECT_NEAR(static_cast<double>(faults.Counts().values[i]), spared * row[i], 120) << i;
      spared *= 1 - row[i];
    }
  }
}

}  // namespace
}  // namespace orliq::sim
