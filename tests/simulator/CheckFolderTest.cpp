// SPDX-License-Identifier: Apache-2.0
#include "simulator/CheckFolder.h"

#include <gtest/gtest.h>

#include <cstring>

#include "param/ParamService.h"
#include "simulator/JuniqSensor.h"
#include "support/TempDir.h"

namespace orliq::sim {
namespace {

TEST(JuniqCheckFolder, TheDriverLoadsEveryNumberExactly) {
  const test::TempDir scratch;
  const JuniqSensor sensor{SensorOptions{}};
  std::string error;
  ASSERT_TRUE(sensor.WriteCheckFolder(scratch / "unit/one", error)) << error;
  ASSERT_TRUE(sensor.WriteCheckFolder(scratch / "unit/one", error)) << "over itself: " << error;
  lidar::ParamService service;
  ASSERT_TRUE(service.LoadCheckFolder(lidar::LidarType::Juniq, scratch / "unit/one"));
  EXPECT_EQ(service.LastLoad().size(), 5U) << "the tables and nothing else";
  for (const lidar::TableLoad& load : service.LastLoad()) EXPECT_EQ(load.found, load.needed);
  const JuniqCalibration& unit = sensor.Calibration();
  lidar::OffsetCheckParam expected;  // packed, so filled by memcpy
  std::memcpy(&expected.azimuth, unit.azimuth.data(), sizeof expected.azimuth);
  std::memcpy(&expected.elevation, unit.elevation.data(), sizeof expected.elevation);
  std::memcpy(&expected.offset, unit.offset.data(), sizeof expected.offset);
  std::memcpy(&expected.weight, unit.weight.data(), sizeof expected.weight);
  std::memcpy(&expected.near_filter, unit.near_filter.data(), sizeof expected.near_filter);
  const auto* const loaded = service.GetCheckParam(lidar::LidarType::Juniq);
  EXPECT_EQ(std::memcmp(loaded, &expected, sizeof expected), 0);
}

}  // namespace
}  // namespace orliq::sim
