// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder/PacketBlocks.h"

namespace orliq::lidar {

/// One sample of a scan line.
struct CorvikSample {
  Le<2> intensity;  // the low 12 bits
  Le<2> distance;   // 0.009375 m, offset -2 m
  std::uint8_t gap_4[2];
};
static_assert(sizeof(CorvikSample) == 6 && alignof(CorvikSample) == 1);

/// Measurement packet of a Corvik sensor, little-endian: one scan line.
struct CorvikMsop {
  static constexpr std::size_t kSamples = 192;

  std::uint8_t identifier[8];  // EE FF 01 FF FF FF FF FF
  std::uint8_t gap_8[16];
  std::uint8_t line;  // scan line, the ring; a frame ends when it falls
  std::uint8_t gap_25[3];
  CorvikSample samples[kSamples];  // sample k looks 0.625 deg to the right of sample k - 1
  std::uint8_t gap_1180[17];
  IMUBlock imu;  // acceleration 0.004788403 m/s^2, rate 2.0345e-5 pi rad/s
  std::uint8_t gap_1209;
  UTCBlock utc;
  std::uint8_t gap_1220[16];
};
static_assert(sizeof(CorvikMsop) == 1236 && alignof(CorvikMsop) == 1);
static_assert(offsetof(CorvikMsop, line) == 24 && offsetof(CorvikMsop, samples) == 28 &&
              offsetof(CorvikMsop, imu) == 1197 && offsetof(CorvikMsop, utc) == 1210);

}  // namespace orliq::lidar
