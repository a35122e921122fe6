// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "common/Wire.h"

namespace orliq::lidar {

/// Packet time, UTC.
struct UTCBlock {
  Le<3> microsecond;    // within the second
  Le<2> year;           // full year, such as 2024
  std::uint8_t month;   // 1..12
  std::uint8_t day;     // 1..31
  std::uint8_t hour;    // 0..23
  std::uint8_t minute;  // 0..59
  std::uint8_t second;  // 0..59
};
static_assert(sizeof(UTCBlock) == 10 && alignof(UTCBlock) == 1);

/// Raw inertial sample: accelerations in w0..w2, angular rates in w3..w5. Axes and scales differ
/// from model to model.
struct IMUBlock {
  Le<2, std::int16_t> w[6];
};
static_assert(sizeof(IMUBlock) == 12 && alignof(IMUBlock) == 1);

}  // namespace orliq::lidar
