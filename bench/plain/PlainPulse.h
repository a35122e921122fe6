// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>

#include "bench/plain/PlainFields.h"
#include "param/CheckParam.h"

// What the plain loops of the pulse-ratio sensors (Juniq, Glavor) share.
namespace orliq::bench {

/// The vectors of the check parameters, aligned.
struct PulseVectors {
  explicit PulseVectors(const lidar::AngleCheckParam& check) {
    std::memcpy(w, &check.weight, sizeof w);
    std::memcpy(nf, &check.near_filter, sizeof nf);
  }
  float w[lidar::kWeights];
  float nf[lidar::kNearFilters];
};

/// Range [m] of a time of flight in 1/64 count.
inline float RangeOf(std::uint32_t tof, float metres_per_unit) {
  const float v = static_cast<float>(tof >> 6) + static_cast<float>(tof & 63) * 0.015625F;
  return static_cast<float>(static_cast<double>(v) * 1.645F - 2.09F) * metres_per_unit;
}

inline float Corrected(float d, float r, const float (&w)[lidar::kWeights]) {
  const double c = static_cast<double>(w[2] * r * r) + static_cast<double>(w[0] * r) +
                   static_cast<double>(w[1] * d) + static_cast<double>(w[3]);
  return static_cast<float>(d - c);
}

inline float WithoutNoise(float d, std::uint32_t strength, const float (&nf)[lidar::kNearFilters]) {
  if (nf[1] == 0) return d;
  const auto peak = static_cast<float>(strength);
  if (d < nf[3]) return peak < nf[2] ? 0.0F : d;
  return d < nf[1] && peak < std::fabs(d - nf[1]) / nf[1] * nf[0] ? 0.0F : d;
}

template <typename P>
void LocateAhead(P& p, float d, int azimuth, int elevation, const lidar::Trigon& trigon) {
  const int az = Held(azimuth);
  const int el = Held(elevation);
  const float horizontal = d * trigon.Cos(el);
  p.x = std::fabs(horizontal * trigon.Cos(az));
  p.y = std::fabs(horizontal) * trigon.Sin(az);
  p.z = d * trigon.Sin(el);
}

}  // namespace orliq::bench
