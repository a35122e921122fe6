// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

namespace orliq::sim {

/// Vector of the point frame: x forward, y left, z up.
struct Vec3 {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

inline Vec3 operator-(const Vec3& a, const Vec3& b) {
  return {a.x - b.x, a.y - b.y, a.z - b.z};
}

inline double Dot(const Vec3& a, const Vec3& b) {
  return a.x * b.x + a.y * b.y + a.z * b.z;
}

constexpr double kRadian = 3.141592653589793 / 180.0;  // in degrees

/// The unit vector of a direction in degrees: azimuth positive to the left, elevation upwards.
inline Vec3 DirectionOf(double azimuth_deg, double elevation_deg) {
  const double az = azimuth_deg * kRadian;
  const double el = elevation_deg * kRadian;
  return {std::cos(el) * std::cos(az), std::cos(el) * std::sin(az), std::sin(el)};
}

}  // namespace orliq::sim
