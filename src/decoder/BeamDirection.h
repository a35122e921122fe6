// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>

#include "decoder/Trigon.h"

namespace orliq::lidar {

/// Sine and cosine of an angle.
struct SinCos {
  float sin = 0.0F;
  float cos = 1.0F;
};

/// Direction of a beam.
struct BeamDirection {
  SinCos azimuth;
  SinCos elevation;
};

/// An angle outside the tables counts as 0.
SinCos LookUp(const Trigon& trigon, int angle_cdeg);

/// Hundredths of a degree in degrees, rounded once: 5937 gives exactly 59.37f.
float CentidegreesToDegrees(int angle_cdeg);

/// Coordinates [m] of a return of a sensor that looks ahead: x is never negative.
inline void LocateAhead(float distance, const BeamDirection& beam, float& x, float& y, float& z) {
  const float horizontal = distance * beam.elevation.cos;
  x = std::fabs(horizontal * beam.azimuth.cos);
  y = std::fabs(horizontal) * beam.azimuth.sin;
  z = distance * beam.elevation.sin;
}

}  // namespace orliq::lidar
