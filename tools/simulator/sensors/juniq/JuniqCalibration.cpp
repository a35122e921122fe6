// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/juniq/JuniqCalibration.h"

#include "simulator/sensors/Random.h"

namespace orliq::sim {
namespace {

BeamFan JuniqFan() {
  BeamFan fan;
  fan.column_step = 120.0 / kBeamColumns;
  fan.top_elevation = 15.0;
  fan.row_step = 40.0 / (kBeamRows - 1.0);  // the lowest row looks 25 deg down
  fan.range_offsets = true;
  return fan;
}

}  // namespace

BeamCalibration MakeJuniqCalibration(std::uint64_t seed, bool radius_filter) {
  Random random(seed, kCalibrationStream);
  BeamCalibration unit = MakeBeamCalibration(JuniqFan(), random);
  auto& filter = unit.near_filter;
  filter[4] = radius_filter ? 1.0F : 0.0F;
  filter[5] = 0.5F;  // [m] more than neighbours on a wall differ, at any usual slant
  filter[6] = 2.0F;  // neighbours: a wall seen edge on still has those above and below
  filter[7] = Noted(random.Uniform(0.005, 0.015));
  filter[8] = Noted(random.Uniform(-0.015, -0.005));
  return unit;
}

}  // namespace orliq::sim
