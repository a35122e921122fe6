// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace orliq::lidar {

/// One record of a Fennix sensor. What the sensor measured in it is not known to this version.
struct FennixBlock {
  std::uint8_t column;  // 0x7F in the frame marker
  std::uint8_t row;     // 0xBF in the frame marker
  std::uint8_t gap_2[23];
};
static_assert(sizeof(FennixBlock) == 25 && alignof(FennixBlock) == 1);

/// Measurement packet of a Fennix sensor.
struct FennixMsop {
  static constexpr std::size_t kBlocks = 32;

  std::uint8_t identifier[8];  // EE FF 01 FF FF FF FF FF
  std::uint8_t header_rest[17];
  FennixBlock blocks[kBlocks];
  std::uint8_t gap_825[535];
};
static_assert(sizeof(FennixMsop) == 1360 && alignof(FennixMsop) == 1);
static_assert(offsetof(FennixMsop, blocks) == 25);

}  // namespace orliq::lidar
