// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>

// The steps from a time of flight to a calibrated range that the pulse-ratio sensors (Juniq,
// Glavor) share. Every step is a pure function of plain numbers, so the decoders' loops vectorise.
// Single or double precision and the order of operations are part of the result: they fix its last
// bit.
namespace orliq::lidar {

/// Range [m] of a 24-bit time of flight in 1/64 count; `metres_per_unit` is the model's own.
inline float RawDistance(std::int32_t tof, float metres_per_unit) {
  const float counts = static_cast<float>(tof) * 0.015625F;  // exact: 24 bits fit a float
  // A fused multiply-add: the double product is exact, and for each of the 2^24 inputs one rounding
  // of the double sum equals the fused result.
  const float scaled = static_cast<float>(static_cast<double>(counts) * 1.645F - 2.09F);
  return scaled * metres_per_unit;
}

/// Correction polynomial in the pulse ratio r and the range d [m]:
/// d - (w2 r^2 + w0 r + w1 d + w3), float products summed in double.
inline float CalibrateDistance(float distance, float ratio, const float (&weight)[4]) {
  double correction = 0.0;
  correction += static_cast<double>(weight[2] * ratio * ratio);
  correction += static_cast<double>(weight[0] * ratio);
  correction += static_cast<double>(weight[1] * distance);
  correction += static_cast<double>(weight[3]);
  return static_cast<float>(static_cast<double>(distance) - correction);
}

/// Near-range noise filter: 0 for a return too weak for its range, the range [m] itself otherwise.
/// near_filter: [3] inner limit with strength [2], [1] outer limit with slope [0]; off when [1] is
/// 0.
inline float FilterNearNoisePoints(float distance, float peak, const float (&near_filter)[9]) {
  const float limit = near_filter[1];
  const float needed = std::fabs(distance - limit) / limit * near_filter[0];
  const bool inner = distance < near_filter[3];
  const bool noise = inner ? peak < near_filter[2] : (distance < limit && peak < needed);
  return (limit != 0.0F && noise) ? 0.0F : distance;
}

}  // namespace orliq::lidar
