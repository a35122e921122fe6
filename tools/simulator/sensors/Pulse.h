// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>

namespace orliq::sim {

/// A return as the beam-calibrated models time it. Default: nothing came back.
struct Pulse {
  std::uint16_t width_ref = 4096;  ///< divisor of the pulse ratio, never 0
  std::uint32_t tof = 0;           ///< 24 bits, in 1/64 of a count; 0 when nothing came back
  std::uint32_t peak = 0;          ///< 24 bits, strength of the return
  std::uint32_t width = 0;         ///< 24 bits, length of the return
};

/// How one beam's time of flight becomes a range: a count of it gives `range_per_time` times its
/// time, less `raw_offset_m`, less the correction by the weights, less `late_offset_m`.
struct RangeChain {
  double range_per_time;  ///< [m/ns] half the speed of light, as the decoder has it
  double raw_offset_m;
  const std::array<float, 4>& weight;  ///< as BeamCalibration has it, which must outlive this
  double late_offset_m;
};

/// The pulse whose decoding gives `range_m` as closely as the time of flight can tell: to half a
/// quantum of 3.85 mm.
Pulse EncodePulse(const RangeChain& chain, double range_m, double reflectivity);

}  // namespace orliq::sim
