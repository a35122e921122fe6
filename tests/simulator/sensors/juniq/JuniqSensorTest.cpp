// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/juniq/JuniqSensor.h"

#include <gtest/gtest.h>

#include "support/SimulatedDecoding.h"

namespace orliq::sim {
namespace {

TEST(JuniqSensor, BlocksSayMoreThanRanges) {
  SensorOptions options;
  options.radius_filter = false;  // it would take blocks away
  JuniqSensor sensor{options};
  test::SimulatedDecoding<JuniqPoint> decoding("juniq", sensor);
  decoding.Decode(sensor.EncodeFrame(*MakeScene("boxes"), 0));
  ASSERT_EQ(decoding.cloud->points.size(), 49152U);
  for (std::size_t i = 0; i < 49152; ++i) {
    const BeamTruth& truth = sensor.Truth()[i];
    const JuniqPoint& point = decoding.cloud->points[i];
    ASSERT_EQ(point.column + 256U * point.row, truth.position);
    ASSERT_NE(point.width_ref, 0U) << "divisor of the pulse ratio";
    ASSERT_EQ(point.tof != 0, truth.measured) << "nothing came back: no time either";
    ASSERT_EQ(point.aux != 0, truth.measured);
  }
}

}  // namespace
}  // namespace orliq::sim
