// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

namespace orliq::sim {

/// Vector of the point frame: x forward, y left, z up, the sensor at the origin.
struct Vec3 {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

/// The unit vector of a direction in degrees: azimuth positive to the left, elevation upwards.
inline Vec3 DirectionOf(double azimuth_deg, double elevation_deg) {
  constexpr double kRadian = 3.141592653589793 / 180.0;
  const double az = azimuth_deg * kRadian;
  const double el = elevation_deg * kRadian;
  return {std::cos(el) * std::cos(az), std::cos(el) * std::sin(az), std::sin(el)};
}

}  // namespace orliq::sim
