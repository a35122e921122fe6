// SPDX-License-Identifier: Apache-2.0
#include "decoder/BeamDirection.h"

namespace orliq::lidar {

SinCos LookUp(const Trigon& trigon, int angle_cdeg) {
  const int angle = Trigon::Holds(angle_cdeg) ? angle_cdeg : 0;
  return {trigon.Sin(angle), trigon.Cos(angle)};
}

float CentidegreesToDegrees(int angle_cdeg) {
  return static_cast<float>(angle_cdeg * 0.01);
}

}  // namespace orliq::lidar
