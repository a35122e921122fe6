// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/Wire.h"

namespace orliq::lidar {

/// One return of a Glavor sensor.
struct OrliqGlavorMsopBlock {
  std::uint8_t column;  // low byte of the beam position; 0x7F in the frame marker
  std::uint8_t row;     // high byte of the beam position, the ring; 0xBF in the frame marker
  Le<2> width_ref;      // divisor of the pulse ratio
  std::uint8_t gap_4[5];
  Le<3> tof;   // time of flight, 1/64 count
  Le<3> peak;  // pulse strength, for the near-range filter; its low 16 bits are the intensity
  std::uint8_t gap_15[3];
  Le<3> width;  // numerator of the pulse ratio
  std::uint8_t gap_21[19];
};
static_assert(sizeof(OrliqGlavorMsopBlock) == 40 && alignof(OrliqGlavorMsopBlock) == 1);
static_assert(offsetof(OrliqGlavorMsopBlock, tof) == 9 &&
              offsetof(OrliqGlavorMsopBlock, width) == 18);

/// Measurement packet of a Glavor sensor, little-endian. It carries no time.
struct GlavorMsop {
  static constexpr std::size_t kBlocks = 32;

  std::uint8_t identifier[8];  // EE FF 01 FF FF FF FF FF
  std::uint8_t header_rest[17];
  OrliqGlavorMsopBlock blocks[kBlocks];
  std::uint8_t gap_1305[10];
  Le<2> frame_word;
  Le<2> temperature_a;  // 0.0625 deg C, offset -64
  Le<2> temperature_b;  // 0.0625 deg C, offset -64
  std::uint8_t gap_1321[12];
  std::uint8_t status;
  std::uint8_t gap_1334[26];
};
static_assert(sizeof(GlavorMsop) == 1360 && alignof(GlavorMsop) == 1);
static_assert(offsetof(GlavorMsop, blocks) == 25 && offsetof(GlavorMsop, frame_word) == 1315 &&
              offsetof(GlavorMsop, status) == 1333);

}  // namespace orliq::lidar
