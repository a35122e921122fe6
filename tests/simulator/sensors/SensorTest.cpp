// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/Sensor.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>

#include "multi_driver/SensorModels.h"
#include "simulator/sensors/BeamMeter.h"
#include "simulator/sensors/ImuMotion.h"
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

TEST(Sensors, ShowTheirFramesWhereTheDriverLooksForThem) {
  using Ends = std::vector<std::pair<std::size_t, int>>;  // number of the packet, where in it
  struct Row {
    const char* model;
    std::uint64_t frames;
    Ends ends;
  };
  const Row rows[] = {{"juniq", 2, {{767, 64}, {1535, 64}}},
                      {"glavor", 2, {{1535, 32}, {3071, 32}}},
                      {"fennix", 2, {{0, 1}, {1536, 1}}},
                      {"corvik", 3, {{56, 1}, {112, 1}}},
                      {"brantis", 12, {{560, 0}}},  // its counter starts anew
                      {"hestra", 2, {}},
                      {"kelvane", 3, {{1200, 0}, {2400, 0}}}};
  for (const Row& row : rows) {
    const auto sensor = MakeSensor(row.model, {});
    test::SimulatedDecoding<Point> decoding(row.model, *sensor);
    std::size_t packets = 0;
    Ends ends;
    for (std::uint64_t frame = 0; frame < row.frames; ++frame) {
      for (const Packet& packet : sensor->EncodeFrame(*MakeScene("empty-room"), frame)) {
        std::uint16_t start = 0;
        if (decoding.decoder->toSplite(packet.payload.data(), packet.payload.size(), start)) {
          ends.emplace_back(packets, start);
        }
        ++packets;
      }
    }
    EXPECT_EQ(ends, row.ends) << row.model;
  }
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

TEST(BeamMeter, NoiseIsOfTheSizeAskedForAndAnotherInEachFrame) {
  BeamMeter meter(1, {0.02, 0.0}, {0.4, 230.0});
  double before = 0.0;
  for (std::uint64_t frame = 0; frame < 2; ++frame) {
    meter.StartFrame(frame);
    double squares = 0.0;
    for (std::uint32_t i = 0; i < 10000; ++i) {
      const double error = meter.Measure(i, {10.0, 0.5})->range_m - 10.0;
      squares += error * error;
    }
    EXPECT_NEAR(std::sqrt(squares / 10000.0), 0.02, 0.001);
    EXPECT_NE(squares, before);
    before = squares;
  }
}

// Gravity stands still while the mount turns, so the acceleration changes by its turning alone.
TEST(ImuMotion, TurnsAboutEachAxisAsItsAccelerationTells) {
  constexpr double kStep = 1e-4;  // [s]
  for (double t = 0.1; t < 20.0; t += 0.7) {
    const auto& [w, a] = SwayAt(t);
    const Vec3 before = SwayAt(t - kStep).acceleration;
    const Vec3 after = SwayAt(t + kStep).acceleration;
    EXPECT_NEAR((after.x - before.x) / (2 * kStep), w.z * a.y - w.y * a.z, 1e-6) << t;
    EXPECT_NEAR((after.y - before.y) / (2 * kStep), w.x * a.z - w.z * a.x, 1e-6) << t;
    EXPECT_NEAR((after.z - before.z) / (2 * kStep), w.y * a.x - w.x * a.y, 1e-6) << t;
    EXPECT_NEAR(std::hypot(a.x, a.y, a.z), 9.81, 1e-9);
    EXPECT_GT(a.z, 9.8) << "at rest along +z";
  }
}

}  // namespace
}  // namespace orliq::sim
