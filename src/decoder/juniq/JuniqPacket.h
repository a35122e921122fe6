// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder/PacketBlocks.h"

namespace orliq::lidar {

/// One return of a Juniq sensor.
struct OrliqJuniqMsopBlock {
  std::uint8_t column;  // low byte of the beam position; 0x7F in the frame marker
  std::uint8_t row;     // high byte of the beam position, the ring; 0xBF in the frame marker
  Le<2> width_ref;      // divisor of the pulse ratio
  Le<2> aux;            // auxiliary word, handed out as it is
  Le<3> tof;            // time of flight, 1/64 count
  Le<3> peak;           // pulse strength, for the near-range filter
  Le<3> width;          // numerator of the pulse ratio; its low 16 bits are the intensity
  std::uint8_t unused;

  constexpr std::uint16_t Position() const {
    return static_cast<std::uint16_t>(column + 256 * row);
  }
};
static_assert(sizeof(OrliqJuniqMsopBlock) == 16 && alignof(OrliqJuniqMsopBlock) == 1);

/// Measurement packet of a Juniq sensor, little-endian.
struct JuniqMsop {
  static constexpr std::size_t kBlocks = 64;

  std::uint8_t identifier[8];  // EE FF 01 FF FF FF FF FF
  std::uint8_t header_rest[17];
  OrliqJuniqMsopBlock blocks[kBlocks];
  std::uint8_t gap_1049[10];
  Le<2> frame_word;
  Le<2> temperature_a;  // 0.0625 deg C, offset -64
  Le<2> temperature_b;  // 0.0625 deg C, offset -64
  IMUBlock imu;         // acceleration 0.004788403 m/s^2, rate 0.000173611 pi rad/s
  std::uint8_t status;
  UTCBlock utc;
  std::uint8_t gap_1088[4];
  Le<3> imu_stamp;  // changes with every inertial sample
  std::uint8_t gap_1095[9];
};
static_assert(sizeof(JuniqMsop) == 1104 && alignof(JuniqMsop) == 1);
static_assert(offsetof(JuniqMsop, blocks) == 25 && offsetof(JuniqMsop, frame_word) == 1059 &&
              offsetof(JuniqMsop, imu) == 1065 && offsetof(JuniqMsop, status) == 1077 &&
              offsetof(JuniqMsop, utc) == 1078 && offsetof(JuniqMsop, imu_stamp) == 1092);

}  // namespace orliq::lidar
