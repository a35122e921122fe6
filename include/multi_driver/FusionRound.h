// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "multi_driver/Export.h"

namespace orliq::lidar {

/// One sensor's share of a fused cloud.
struct ORLIQ_API FusedFrame {
  std::uint64_t points = 0;  ///< of its frame, which follow those of the sensors before it
  double timestamp = 0.0;    ///< [s] of its frame, since 1970-01-01 UTC; 0.0 of one without time
  double age_s = 0.0;        ///< [s] from the end of its frame to the hand-over of the round
  /// Frames since the round before that a later one took the place of.
  std::uint64_t overwritten = 0;
};

/// What a fused cloud is made of, to judge whether its frames belong together.
struct ORLIQ_API FusionRound {
  std::uint64_t number = 0;  ///< counted from 1 with each start of the driver
  double skew_s = 0.0;       ///< [s] from the arrival of its oldest frame to that of its newest
  std::vector<FusedFrame> sensors;  ///< in sensor order
};

}  // namespace orliq::lidar
