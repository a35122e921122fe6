// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/sending/Pacer.h"
#include "simulator/sending/UdpSender.h"

namespace orliq::sim {

/// Sends packets at their own pace, one by one or in bursts. Not thread safe.
class PacedSender {
 public:
  /// Packets go `burst` at a time, back to back, when the last of them is due; 1 spreads them as
  /// recorded. `sender` and `pacer` stay the caller's and must outlive this.
  PacedSender(UdpSender& sender, Pacer& pacer, std::size_t burst);

  /// Takes a packet over, waits and sends when it completes a burst.
  void Add(const std::uint8_t* payload, std::size_t size, double time_s);

  /// Waits and sends what is left of the last burst.
  void Finish();

  /// [s] from the first packet or burst to the last one.
  double Seconds() const;

  /// Packets sent per second in that time; 0 when there was but one packet or burst.
  double Rate() const;

 private:
  UdpSender& sender_;
  Pacer& pacer_;
  std::vector<std::vector<std::uint8_t>> payloads_;  // of a burst, with room that is used again
  std::size_t waiting_ = 0;                          // of them
  PaceClock::Time due_{};                            // of the last of those
  std::uint64_t in_first_burst_ = 0;                 // packets sent
  bool started_ = false;
  PaceClock::Time first_{};
  PaceClock::Time last_{};
};

}  // namespace orliq::sim
