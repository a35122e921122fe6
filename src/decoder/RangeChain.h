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

/// Weights of the correction polynomial, by value: a loop that stores floats need not fear for
/// them.
struct RangeWeights {
  explicit RangeWeights(const float (&w)[4]) : w0(w[0]), w1(w[1]), w2(w[2]), w3(w[3]) {}
  float w0, w1, w2, w3;
};

/// Correction polynomial in the pulse ratio r and the range d [m]:
/// d - (w2 r^2 + w0 r + w1 d + w3), float products summed in double.
inline float CalibrateDistance(float distance, float ratio, const RangeWeights& w) {
  double correction = 0.0;
  correction += static_cast<double>(w.w2 * ratio * ratio);
  correction += static_cast<double>(w.w0 * ratio);
  correction += static_cast<double>(w.w1 * distance);
  correction += static_cast<double>(w.w3);
  return static_cast<float>(static_cast<double>(distance) - correction);
}

/// The part of the near-filter vector that the noise filter reads.
struct NearFilter {
  explicit NearFilter(const float (&v)[9])
      : slope(v[0]), outer(v[1]), strength(v[2]), inner(v[3]) {}
  float slope;     // strength asked at range 0 by the outer rule
  float outer;     // [m] limit of the outer rule; 0 switches the filter off
  float strength;  // asked by the inner rule
  float inner;     // [m] limit of the inner rule
};

/// Near-range noise filter: 0 for a return too weak for its range, the range [m] itself otherwise.
inline float FilterNearNoisePoints(float distance, float peak, const NearFilter& filter) {
  const float needed = std::fabs(distance - filter.outer) / filter.outer * filter.slope;
  const int inside = distance < filter.inner;
  const int weak_inside = inside & (peak < filter.strength);
  const int weak_outside = (inside ^ 1) & (distance < filter.outer) & (peak < needed);
  const int noise = (filter.outer != 0.0F) & (weak_inside | weak_outside);
  return noise != 0 ? 0.0F : distance;
}

}  // namespace orliq::lidar
