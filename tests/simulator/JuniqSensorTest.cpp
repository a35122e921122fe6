// SPDX-License-Identifier: Apache-2.0
#include "simulator/JuniqSensor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "simulator/JuniqWire.h"

namespace orliq::sim {
namespace {

using Bytes = std::vector<std::uint8_t>;

SensorOptions WithFaults(double noise_m, double false_rate, double dropped_rate) {
  SensorOptions options;
  options.faults = {noise_m, false_rate, dropped_rate};
  return options;
}

Bytes Joined(const std::vector<Packet>& packets) {
  Bytes all;
  for (const Packet& packet : packets) {
    all.insert(all.end(), packet.payload.begin(), packet.payload.end());
  }
  return all;
}

TEST(JuniqSensor, FrameHoldsEveryBeamOnceAndEndsWithTheMarker) {
  JuniqSensor sensor{SensorOptions{}};
  const auto packets = sensor.EncodeFrame(*MakeScene("boxes"), 300);
  ASSERT_EQ(packets.size(), 768U);
  std::set<unsigned> positions;
  for (const Packet& packet : packets) {
    const std::uint8_t* data = packet.payload.data();
    ASSERT_EQ(packet.payload.size(), 1104U);
    ASSERT_EQ(Bytes(data, data + 8), (Bytes{0xEE, 0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}));
    ASSERT_EQ(wire::Uint(data + 1059, 2), 300U);
    ASSERT_NEAR(wire::Uint(data + 1061, 2) * 0.0625 - 64.0, 45.0, 2.1);
    ASSERT_NEAR(wire::Uint(data + 1063, 2) * 0.0625 - 64.0, 40.0, 1.1);
    ASSERT_EQ(data[1077], 1) << "status";
    for (std::size_t i = 0; i < 64; ++i) {
      positions.insert(wire::Position(wire::Block(packet, i)));
      ASSERT_NE(wire::Uint(wire::Block(packet, i) + 2, 2), 0U) << "divisor of the pulse ratio";
    }
  }
  EXPECT_EQ(positions.size(), 49152U);
  EXPECT_EQ(*positions.rbegin(), 49151U);
  EXPECT_EQ(wire::Position(wire::Block(packets[767], 63)), 0xBF7FU) << "column 127, row 191";
}

TEST(JuniqSensor, DecodedRangeIsTheScenesToHalfAQuantum) {
  JuniqSensor sensor{WithFaults(0.0, 0.1, 0.0)};
  const JuniqCalibration& unit = sensor.Calibration();
  const auto scene = MakeScene("moving-box");
  const auto packets = sensor.EncodeFrame(*scene, 30);
  ASSERT_EQ(sensor.Truth().size(), 49152U);
  for (std::size_t i = 0; i < 49152; ++i) {
    const JuniqTruth& truth = sensor.Truth()[i];
    const Packet& packet = packets[i / 64];
    const std::uint8_t* block = wire::Block(packet, i % 64);
    const unsigned position = wire::Position(block);
    ASSERT_EQ(position, truth.position);
    ASSERT_EQ(wire::Uint(block + 6, 3) != 0, truth.measured) << "nothing came back: no time either";
    ASSERT_NEAR(wire::Range(block, unit), truth.range_m, wire::kQuantum / 2);
    if (!truth.is_false) {
      const double elapsed = packet.time_s - SensorOptions{}.start_time_s;
      const double range = scene->Cast(wire::Direction(position, unit), elapsed).range_m;
      ASSERT_NEAR(truth.range_m, range <= 230.0 ? range : 0.0, 1e-5) << "position " << position;
    }
  }
}

TEST(JuniqSensor, FaultsComeAtTheRateAskedFor) {
  const auto scene = MakeScene("empty-room");
  JuniqSensor clean{SensorOptions{}};
  JuniqSensor faulty{WithFaults(0.05, 0.02, 0.25)};
  clean.EncodeFrame(*scene, 0);
  std::size_t arrived = faulty.EncodeFrame(*scene, 1).size();
  const double in_frame_1 = faulty.Truth()[100].range_m;
  arrived += faulty.EncodeFrame(*scene, 0).size();
  ASSERT_EQ(faulty.Truth().size(), 49152U) << "of the last frame, with what was dropped";
  EXPECT_NE(faulty.Truth()[100].range_m, in_frame_1) << "noise of its own in each frame";
  EXPECT_NEAR(static_cast<double>(arrived), 2 * 768 * 0.75, 70.0);
  double squares = 0.0;
  double real = 0.0;
  double from_nowhere = 0.0;
  for (std::size_t i = 0; i < 49152; ++i) {
    const JuniqTruth& truth = faulty.Truth()[i];
    from_nowhere += truth.is_false ? 1 : 0;
    if (truth.measured && !truth.is_false) {
      squares += std::pow(truth.range_m - clean.Truth()[i].range_m, 2);
      ++real;
    }
  }
  EXPECT_NEAR(from_nowhere, 49152 * 0.02, 125.0) << "four standard deviations";
  EXPECT_NEAR(std::sqrt(squares / real), 0.05, 0.001) << "around the true range";
}

TEST(JuniqSensor, BytesFollowFromTheSeedAlone) {
  const auto scene = MakeScene("boxes");
  SensorOptions options = WithFaults(0.02, 0.01, 0.1);
  JuniqSensor first{options};
  JuniqSensor again{options};
  first.EncodeFrame(*scene, 0);
  const Bytes bytes = Joined(first.EncodeFrame(*scene, 1));
  EXPECT_EQ(Joined(again.EncodeFrame(*scene, 1)), bytes) << "whatever was encoded before";
  std::uint64_t hash = 0xCBF29CE484222325U;  // FNV-1a: one value for every compiler
  for (const std::uint8_t byte : bytes) {
    hash = (hash ^ byte) * 0x100000001B3U;
  }
  EXPECT_EQ(hash, 7047185125887086886U) << "the sensor has changed";
  options.seed = 2;
  JuniqSensor other{options};
  EXPECT_NE(other.Calibration().azimuth, first.Calibration().azimuth);
  EXPECT_NE(Joined(other.EncodeFrame(*scene, 1)), bytes);
}

TEST(JuniqSensor, PacketTimeAdvancesWithTheFrameRate) {
  const struct {
    double start_s;
    double rate_hz;
    std::uint64_t frame;
    std::size_t packet;
    Bytes utc;  // microseconds, year (2), month, day, hour, minute, second
    const char* why;
  } cases[] = {
      {1700000000.0, 10, 0, 0, {0, 0, 0, 0xE7, 7, 11, 14, 22, 13, 20}, "2023-11-14 22:13:20"},
      {1700000000.0, 10, 12, 0, {0x40, 0x0D, 3, 0xE7, 7, 11, 14, 22, 13, 21}, "frame 12: 1.2 s"},
      {1700000000.0, 20, 0, 384, {0xA8, 0x61, 0, 0xE7, 7, 11, 14, 22, 13, 20}, "half of 50 ms"},
      {1709164799.9999998, 10, 0, 0, {0, 0, 0, 0xE8, 7, 2, 29, 0, 0, 0}, "rounds to a leap day"},
      {0.0, 10, 0, 0, {0, 0, 0, 0xB2, 7, 1, 1, 0, 0, 0}, "1970-01-01"},
  };
  const auto scene = MakeScene("empty-room");
  for (const auto& c : cases) {
    SensorOptions options;
    options.start_time_s = c.start_s;
    options.frame_rate_hz = c.rate_hz;
    const Packet packet = JuniqSensor{options}.EncodeFrame(*scene, c.frame)[c.packet];
    const std::uint8_t* utc = packet.payload.data() + 1078;
    EXPECT_EQ(Bytes(utc, utc + 10), c.utc) << c.why;
    const double elapsed =
        (static_cast<double>(c.frame) + static_cast<double>(c.packet) / 768.0) / c.rate_hz;
    EXPECT_NEAR(packet.time_s, c.start_s + elapsed, 1e-6) << c.why;
  }
}

TEST(JuniqSensor, InertialSamplesAgreeWithEachOther) {
  SensorOptions options;
  options.frame_rate_hz = 0.5;  // 768 packets in 2 s: every sample is sent about four times
  JuniqSensor sensor{options};
  const auto packets = sensor.EncodeFrame(*MakeScene("empty-room"), 0);
  double roll = 0.0;  // summed up from the turn rates, level at the start
  double pitch = 0.0;
  std::set<unsigned> stamps;
  for (std::size_t i = 0; i < packets.size(); ++i) {
    const Vec3 push = wire::Push(packets[i]);
    ASSERT_NEAR(std::hypot(push.x, push.y, push.z), 9.81, 0.01) << "gravity alone";
    if (stamps.insert(wire::ImuStamp(packets[i])).second) {
      ASSERT_NEAR(push.x, -9.81 * std::sin(pitch), 0.02) << "a positive pitch is nose down";
      ASSERT_NEAR(push.y, 9.81 * std::sin(roll), 0.02);
      roll += wire::Turn(packets[i]).x * 0.01;
      pitch += wire::Turn(packets[i]).y * 0.01;
    } else {
      ASSERT_EQ(wire::ImuWord(packets[i], 3), wire::ImuWord(packets[i - 1], 3)) << "same sample";
    }
  }
  EXPECT_EQ(stamps.size(), 200U) << "100 samples a second";
  EXPECT_EQ(stamps.count(0), 0U) << "0 would mean that there is no sample yet";
}

TEST(JuniqSensor, RadiusFilterSettingsKeepSurfacesAndRemoveFalseReturns) {
  JuniqSensor sensor{WithFaults(0.01, 0.01, 0.0)};
  sensor.EncodeFrame(*MakeScene("boxes"), 0);
  std::vector<double> ranges(49152);
  for (const JuniqTruth& truth : sensor.Truth()) {
    ranges[truth.position] = truth.range_m;
  }
  const auto& nf = sensor.Calibration().near_filter;
  const double* range = ranges.data();
  const auto survives = [&](int position) {
    int near = 0;
    for (const int step : {-257, -256, -255, -1, 1, 255, 256, 257}) {
      const int at = position + step;
      const bool in_grid = at >= 0 && at < 49152 && std::abs(at % 256 - position % 256) <= 1;
      near += in_grid && range[at] > 0 && std::abs(range[at] - range[position]) <= nf[5] ? 1 : 0;
    }
    return near >= static_cast<int>(nf[6]);
  };
  int count[2][2] = {};  // of real and false returns: removed, kept
  for (const JuniqTruth& truth : sensor.Truth()) {
    count[truth.is_false][survives(truth.position)] += truth.measured ? 1 : 0;
  }
  EXPECT_LT(count[0][0], count[0][1] / 200) << "surfaces stay";
  EXPECT_GT(count[1][0], count[1][1] * 10) << "false returns go";
  EXPECT_EQ(nf[4], 1.0F);
  EXPECT_EQ(MakeJuniqCalibration(1, false).near_filter[4], 0.0F);
}

TEST(MakeSensor, RefusesUnknownModelsAndSenselessOptions) {
  EXPECT_EQ(MakeSensor(SensorNames().at(0), {})->Name(), "juniq");
  EXPECT_EQ(MakeSensor("juni", {}), nullptr);
  for (const double bad : {-0.1, 1e12, std::nan("")}) {
    EXPECT_EQ(MakeSensor("juniq", {1, bad, true, 0.0, {}}), nullptr) << "frame rate " << bad;
    EXPECT_EQ(MakeSensor("juniq", {1, 10, true, bad, {}}), nullptr) << "start " << bad;
    EXPECT_EQ(MakeSensor("juniq", WithFaults(0, bad, 0)), nullptr) << "false returns " << bad;
    EXPECT_EQ(MakeSensor("juniq", WithFaults(0, 0, bad)), nullptr) << "dropped packets " << bad;
  }
}

}  // namespace
}  // namespace orliq::sim
