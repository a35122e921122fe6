// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "common/Wire.h"

namespace orliq::lidar {

/// One record of a column.
struct KelvaneRecord {
  Be<2> distance;  // 0.005 m
  std::uint8_t intensity;
  std::uint8_t gap_3;
};
static_assert(sizeof(KelvaneRecord) == 4 && alignof(KelvaneRecord) == 1);

/// Measurement packet of a Kelvane sensor, big-endian: a part of the columns at one azimuth.
struct KelvaneMsop {
  static constexpr std::size_t kRecords = 260;

  std::uint8_t identifier[4];  // 55 AA 5A A5
  Be<2> sequence;              // place of the packet in its frame, from 1 on
  std::uint8_t gap_6[2];
  std::uint8_t cycle_mode;  // 0: four packets with two records a column; else two with one
  std::uint8_t gap_9[15];
  Be<2, std::int16_t> azimuth;  // 0.01 deg
  std::uint8_t flags;           // bit 1: the packet is to be ignored
  std::uint8_t face;            // of the mirror, 1 to 4
  std::uint8_t gap_28[4];
  KelvaneRecord records[kRecords];
  std::uint8_t gap_1072[12];
};
static_assert(sizeof(KelvaneMsop) == 1084 && alignof(KelvaneMsop) == 1);
static_assert(offsetof(KelvaneMsop, cycle_mode) == 8 && offsetof(KelvaneMsop, azimuth) == 24 &&
              offsetof(KelvaneMsop, records) == 32);

}  // namespace orliq::lidar
