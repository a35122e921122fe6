// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/Sensor.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "multi_driver/SensorModels.h"
#include "support/SimulatedDecoding.h"
#include "support/TempDir.h"

namespace orliq::sim {
namespace {

TEST(Sensors, AreThoseThatTheDriverKnowsUnderTheirNames) {
  const auto scene = MakeScene("empty-room");
  for (const std::string& name : SensorNames()) {
    const auto sensor = MakeSensor(name, {});
    const lidar::SensorModel* const model = lidar::FindSensorModel(name);
    ASSERT_TRUE(sensor && model) << name;
    const auto packets = sensor->EncodeFrame(*scene, 0);
    EXPECT_EQ(packets.size(), sensor->PacketsPerFrame()) << name;
    for (const Packet& packet : packets) {
      ASSERT_EQ(packet.payload.size(), model->packet_bytes) << name;
      ASSERT_TRUE(std::equal(packet.payload.begin(),
                             packet.payload.begin() + model->identifier_bytes,
                             model->identifier.begin()))
          << name;
    }
    const test::TempDir scratch;
    std::string error;
    EXPECT_EQ(sensor->WriteCheckFolder(scratch / "check", error), model->needs_tables) << error;
    EXPECT_EQ(sensor->HasCheckFolder(), model->needs_tables) << name;
    EXPECT_EQ(sensor->HasImu(), model->has_imu) << name;
  }
  EXPECT_FALSE(MakeSensor("juniq ", {}));
  SensorOptions options;
  options.cycle_packets = 3;
  EXPECT_FALSE(MakeSensor("kelvane", options));
}

TEST(BrantisSensor, EveryPacketSaysItsFramesNumberWhichStartsAnew) {
  const auto sensor = MakeSensor("brantis", {});
  for (unsigned frame = 0; frame < 12; ++frame) {
    for (const auto& packet : sensor->EncodeFrame(*MakeScene("boxes"), frame)) {
      ASSERT_EQ(packet.payload[26] + 256U * packet.payload[27], (65526 + frame) % 65536);
    }
  }
}

TEST(Sensors, WithFrameWordsSendTheFramesNumberTemperaturesAndStatus) {
  for (const char* const model : {"juniq", "glavor"}) {
    const auto sensor = MakeSensor(model, {});
    test::SimulatedDecoding<Point> decoding(model, *sensor);
    decoding.Decode(sensor->EncodeFrame(*MakeScene("boxes"), 300));
    EXPECT_EQ(decoding.cloud->frame_word, 300);
    EXPECT_NEAR(decoding.cloud->temperature_a, 45.0, 2.1);
    EXPECT_NEAR(decoding.cloud->temperature_b, 40.0, 1.1);
    EXPECT_EQ(decoding.cloud->status, 1);
  }
}

}  // namespace
}  // namespace orliq::sim
