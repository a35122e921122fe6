// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <mutex>

#include "multi_driver/ClockStatistics.h"

namespace orliq::lidar {

/// Compares a sensor's clock with this machine's.
///
/// Threads: any. Memory: a minute of one entry a second.
class SensorClock {
 public:
  /// A packet that the system received `arrival_ns` after 1970-01-01 UTC tells `packet_time` [s].
  void Note(std::uint64_t arrival_ns, double packet_time);

  ClockStatistics Count() const;

 private:
  static constexpr std::size_t kKept = 60;    // seconds, for the drift
  static constexpr std::int64_t kShown = 10;  // of them, for the spread

  /// The offsets [s] of one second of arrivals.
  struct Second {
    std::int64_t number;  // since 1970; may go back as the machine's clock does
    double smallest;
    double largest;
  };

  const Second& Ago(std::size_t seconds) const;
  void AddDrift(ClockStatistics& statistics) const;

  mutable std::mutex mutex_;           // guards all below
  std::array<Second, kKept> seconds_;  // the latest kKept that had a packet
  std::size_t next_ = 0;               // where the next one goes
  std::size_t filled_ = 0;
  std::uint64_t packets_ = 0;
  std::uint64_t jumps_ = 0;
  double latest_ = 0.0;
};

}  // namespace orliq::lidar
