// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/sensors/ByteWriter.h"
#include "simulator/sensors/ImuMotion.h"
#include "simulator/sensors/JuniqCalibration.h"

namespace orliq::sim {

constexpr std::size_t kJuniqBlocksPerPacket = 64;
constexpr double kJuniqMinRange = 0.4;    // [m] nearer than this the sensor is blind
constexpr double kJuniqMaxRange = 230.0;  // [m]

/// One beam on the wire. Default: nothing came back.
struct JuniqBlock {
  std::uint16_t position = 0;      ///< column + 256 * row
  std::uint16_t width_ref = 4096;  ///< divisor of the pulse ratio, never 0
  std::uint16_t aux = 0;           ///< background light
  std::uint32_t tof = 0;           ///< 24 bits, in 1/64 of a count; 0 when nothing came back
  std::uint32_t peak = 0;          ///< 24 bits, strength of the return
  std::uint32_t width = 0;         ///< 24 bits, length of the return
};

/// What a packet says beside its beams.
struct JuniqState {
  std::uint16_t frame = 0;      ///< counts frames
  double temperature_a = 0.0;   ///< [deg C] -64 to 4000
  double temperature_b = 0.0;   ///< [deg C]
  ImuSample imu;                ///< latest sample
  std::uint32_t imu_stamp = 0;  ///< 24 bits, another number for each sample, never 0
  double time_s = 0.0;          ///< seconds since 1970-01-01 UTC
};

/// The block whose decoding gives `range_m` (kJuniqMinRange to kJuniqMaxRange) as closely as the
/// time of flight can tell: to half a quantum of 3.85 mm.
JuniqBlock EncodeReturn(const JuniqCalibration& unit, std::uint16_t position, double range_m,
                        double reflectivity);

/// Appends the head of a packet. kJuniqBlocksPerPacket blocks and one tail follow it.
void WriteHead(ByteWriter& writer);
void WriteBlock(ByteWriter& writer, const JuniqBlock& block);
void WriteTail(ByteWriter& writer, const JuniqState& state);

}  // namespace orliq::sim
