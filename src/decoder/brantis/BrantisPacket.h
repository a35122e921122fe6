// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/Wire.h"

namespace orliq::lidar {

/// Measurement packet of a Brantis sensor, little-endian. What it measured is not known to this
/// version.
struct BrantisMsop {
  std::uint8_t identifier[8];  // EE FF 01 FF FF FF FF FF
  std::uint8_t gap_8[18];
  Le<2> frame_counter;
  std::uint8_t gap_28[1208];
};
static_assert(sizeof(BrantisMsop) == 1236 && alignof(BrantisMsop) == 1);
static_assert(offsetof(BrantisMsop, frame_counter) == 26);

}  // namespace orliq::lidar
