// SPDX-License-Identifier: Apache-2.0
#include "decoder/BeamTable.h"

#include "common/FloatToInt.h"

namespace orliq::lidar {

int TableAngle(float angle_deg, double scale) {
  // Double on purpose: in float, thousands of hundredths would truncate to a neighbour.
  return SaturatingTruncate<int>(angle_deg * scale);
}

float CentidegreesToDegrees(int angle_cdeg) {
  return static_cast<float>(angle_cdeg * 0.01);
}

Beam MakeBeam(const Trigon& trigon, const BeamAngles& angles) {
  const int azimuth = Trigon::Holds(angles.azimuth_cdeg) ? angles.azimuth_cdeg : 0;
  const int elevation = Trigon::Holds(angles.elevation_cdeg) ? angles.elevation_cdeg : 0;
  Beam beam;
  beam.sin_azimuth = trigon.Sin(azimuth);
  beam.cos_azimuth = trigon.Cos(azimuth);
  beam.sin_elevation = trigon.Sin(elevation);
  beam.cos_elevation = trigon.Cos(elevation);
  return beam;
}

}  // namespace orliq::lidar
