// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/sending/PerFault.h"
#include "simulator/sensors/Random.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::sim {

/// What can happen to a packet on its way. At most one fault hits a packet, the first in this order;
/// a foreign packet may come beside it.
enum class PacketFault : std::size_t {
  kLost,
  kWrongLength,      ///< cut short, or with up to 64 bytes too many
  kWrongIdentifier,  ///< one of the first four bytes differs, in which every model has its mark
  kDuplicated,       ///< arrives twice in a row
  kSwapped,          ///< overtaken by the next packet that arrives
  kForeign           ///< a packet that is no sensor's comes too, to the same port
};
constexpr std::size_t kPacketFaults = 6;

template <typename Number>
using PerPacketFault = PerFault<PacketFault, kPacketFaults, Number>;
using PacketFaultRates = PerPacketFault<double>;          ///< share of packets, 0 to 1
using PacketFaultCounts = PerPacketFault<std::uint64_t>;  ///< a swapped pair counts once

/// The road between sensor and receiver. The seed alone decides which packets are hit; asking for
/// one fault leaves the choice of the others as it was. Not thread safe.
class PacketFaults {
 public:
  PacketFaults(const PacketFaultRates& rates, std::uint64_t seed, std::size_t packets_per_frame);

  /// Appends to `arriving` what arrives when the sensor sends its next packet: none to four packets
  /// with the time of this one.
  void Pass(Packet packet, std::vector<Packet>& arriving);

  /// Appends a packet that still waits to be overtaken; it keeps its place and counts as no fault.
  void Finish(std::vector<Packet>& arriving);

  /// Faults so far, each as a receiver finds it.
  const PacketFaultCounts& Counts() const { return counts_; }

 private:
  /// The draws of one packet, made whether or not they have an effect.
  struct Fate {
    PerPacketFault<bool> hit;
    double length = 0.0;  // all even over [0, 1)
    double place = 0.0;
    double change = 0.0;
  };
  Fate Draw();
  void Arrive(Packet packet, const Fate& fate, std::vector<Packet>& arriving);
  void Damage(Packet& packet, const Fate& fate);

  PacketFaultRates rates_;
  std::uint64_t seed_;
  std::size_t packets_per_frame_;
  std::uint64_t packets_ = 0;   // from the sensor so far
  std::vector<Random> chance_;  // streams of the current frame, one for each fault
  std::optional<Packet> overtaken_;
  PacketFaultCounts counts_;
};

}  // namespace orliq::sim
