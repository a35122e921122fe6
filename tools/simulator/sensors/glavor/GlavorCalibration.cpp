// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/glavor/GlavorCalibration.h"

#include "simulator/sensors/Random.h"

namespace orliq::sim {
namespace {

BeamFan GlavorFan() {
  BeamFan fan;
  fan.column_step = 100.0 / kBeamColumns;
  fan.top_elevation = 10.0;
  fan.row_step = 30.0 / (kBeamRows - 1.0);  // the lowest row looks 20 deg down
  return fan;
}

}  // namespace

BeamCalibration MakeGlavorCalibration(std::uint64_t seed) {
  Random random(seed, kCalibrationStream);
  return MakeBeamCalibration(GlavorFan(), random);
}

}  // namespace orliq::sim
