// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "multi_driver/Export.h"

namespace orliq::lidar {

/// How a sensor's clock stands to this machine's. An offset is the moment at which the system received
/// a packet less the time in that packet: positive when the sensor's clock is behind. It has the
/// packet's way in it, so the smallest one is the best known.
struct ORLIQ_API ClockStatistics {
  std::uint64_t packets = 0;  ///< that told a time; 0 of a model without
  double latest_s = 0.0;      ///< [s] offset of the latest
  double smallest_s = 0.0;    ///< [s] least offset of the last ten seconds
  double largest_s = 0.0;     ///< [s] greatest one: the way and the machine's load vary that much
  double drift_ppm = 0.0;     ///< by how much the offset grows, by the least one of each second
  double drift_over_s = 0.0;  ///< [s] that the drift is of; 0.0: too few to tell it
  std::uint64_t jumps =
      0;  ///< offsets more than half a second from the one before: a clock was set
};

}  // namespace orliq::lidar
