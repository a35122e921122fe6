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

BeamDirection MakeDirection(const Trigon& trigon, const BeamAngles& angles) {
  const int azimuth = Trigon::Holds(angles.azimuth_cdeg) ? angles.azimuth_cdeg : 0;
  const int elevation = Trigon::Holds(angles.elevation_cdeg) ? angles.elevation_cdeg : 0;
  return {trigon.Sin(azimuth), trigon.Cos(azimuth), trigon.Sin(elevation), trigon.Cos(elevation)};
}

}  // namespace orliq::lidar
