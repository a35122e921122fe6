// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/juniq/JuniqSensor.h"

#include <gtest/gtest.h>

#include <cmath>
#include <set>

#include "simulator/sensors/PacketFields.h"
#include "simulator/sensors/juniq/JuniqEncoder.h"
#include "support/DecoderProbe.h"

namespace orliq::sim {
namespace {

template <typename P>
void Decode(test::JuniqProbe<P>& probe, const std::vector<Packet>& packets) {
  for (const Packet& packet : packets) {
    probe.decoder.ProcessMsopPacket(packet.payload.data(), packet.payload.size(), 0);
  }
}

// The ranges are those that the decoder finds, whose corrections the simulator has to undo.
TEST(JuniqSensor, AFrameIsTheSceneBeamByBeamToHalfAQuantumAndEndsWithTheMarker) {
  constexpr double kQuantum = 0.14989623 * 1.645 / 64.0;  // [m] per step of the time of flight
  constexpr double kCut = 2 * 0.01 * 3.1415927 / 180.0;   // [rad] two angles, to whole hundredths
  SensorOptions options;
  options.faults = {0.0, 0.1};
  JuniqSensor sensor{options};
  const BeamCalibration& unit = sensor.Calibration();
  const std::vector<Vec3> beams = unit.Directions();
  const auto scene = MakeScene("moving-box");
  sensor.EncodeFrame(*scene, 299);  // whose truth is forgotten
  const auto packets = sensor.EncodeFrame(*scene, 300);
  test::JuniqProbe<JuniqPoint> probe;
  test::SetTable(&probe.check->azimuth, unit.azimuth);
  test::SetTable(&probe.check->elevation, unit.elevation);
  test::SetTable(&probe.check->offset, unit.offset);
  test::SetTable(&probe.check->weight, {unit.weight.begin(), unit.weight.end()});
  test::SetTable(&probe.check->near_filter, {unit.near_filter.begin(), unit.near_filter.end()});
  probe.check->near_filter[4] = 0.0F;  // the radius filter would take beams away
  probe.Calibrate();
  Decode(probe, packets);
  ASSERT_EQ(probe.frames.size(), 1U);
  const PointCloud<JuniqPoint>& frame = *probe.frames[0];
  EXPECT_EQ(frame.frame_word, 300);
  EXPECT_NEAR(frame.timestamp, 1700000030.0, 1e-6) << "UTC, ten frames a second";
  EXPECT_NEAR(frame.temperature_a, 45.0, 2.1);
  EXPECT_NEAR(frame.temperature_b, 40.0, 1.1);
  EXPECT_EQ(frame.status, 1);
  ASSERT_EQ(frame.points.size(), 49152U);
  ASSERT_EQ(sensor.Truth().size(), 49152U);
  std::set<unsigned> positions;
  for (std::size_t i = 0; i < 49152; ++i) {
    const BeamTruth& truth = sensor.Truth()[i];
    const JuniqPoint& point = frame.points[i];
    positions.insert(truth.position);
    ASSERT_EQ(point.column + 256U * point.row, truth.position);
    ASSERT_NE(point.width_ref, 0U) << "divisor of the pulse ratio";
    ASSERT_EQ(point.tof != 0, truth.measured) << "nothing came back: no time either";
    ASSERT_NEAR(std::hypot(double{point.x}, point.y, point.z), truth.range_m, kQuantum / 2);
    const Vec3& beam = beams.at(truth.position);
    ASSERT_NEAR(point.y, truth.range_m * beam.y, kQuantum + kCut * truth.range_m);
    ASSERT_NEAR(point.z, truth.range_m * beam.z, kQuantum + kCut * truth.range_m);
    if (truth.is_false) continue;
    const double elapsed = packets[i / 64].time_s - options.start_time_s;
    const double range = scene->Cast(beam, elapsed).range_m;
    ASSERT_NEAR(truth.range_m, range <= 230.0 ? range : 0.0, 1e-5) << truth.position;
  }
  EXPECT_TRUE(positions.size() == 49152U && *positions.rbegin() == 49151U) << "every beam once";
  EXPECT_EQ(sensor.Truth().back().position, 0xBF7FU) << "column 127, row 191";
}

TEST(JuniqSensor, BytesFollowFromTheSeedAlone) {
  const auto frame_1 = [scene = MakeScene("boxes")](JuniqSensor& sensor) {
    std::vector<std::vector<std::uint8_t>> payloads;
    for (const Packet& packet : sensor.EncodeFrame(*scene, 1)) payloads.push_back(packet.payload);
    return payloads;
  };
  SensorOptions options;
  options.faults = {0.02, 0.01};
  JuniqSensor first{options};
  JuniqSensor again{options};
  options.seed = 2;
  JuniqSensor other{options};
  first.EncodeFrame(*MakeScene("boxes"), 0);
  EXPECT_EQ(frame_1(first), frame_1(again)) << "whatever was encoded before";
  EXPECT_NE(frame_1(first), frame_1(other));
  EXPECT_NE(first.Calibration().azimuth, other.Calibration().azimuth);
}

/// A sample in the driver's words is that one, to half a count of the sensor.
void ExpectSample(const lidar::ImuMsg& m, const ImuSample& sample) {
  const double got[] = {m.angular_velocity_x,    m.angular_velocity_y,    m.angular_velocity_z,
                        m.linear_acceleration_x, m.linear_acceleration_y, m.linear_acceleration_z};
  const auto& [turn, push] = sample;
  const double expected[] = {turn.x, turn.y, turn.z, push.x, push.y, push.z};
  for (std::size_t i = 0; i < 6; ++i) {
    const double count = i < 3 ? 0.000173611 * 3.141592653589793 : 0.004788403;
    EXPECT_NEAR(got[i], expected[i], 0.5001 * count) << "axis " << i;
  }
}

TEST(JuniqSensor, ImuSamplesAreTheMountsMotionWithEachAxisInItsPlace) {
  test::JuniqProbe<Point> probe;
  probe.decoder.InstallImuMsg(std::make_shared<lidar::ImuMsg>());
  Decode(probe, JuniqSensor{SensorOptions{}}.EncodeFrame(*MakeScene("boxes"), 20));
  ASSERT_EQ(probe.samples.size(), 10U) << "100 a second, from 2 s on";
  for (int i = 0; i < 10; ++i) {
    ExpectSample(probe.samples[static_cast<std::size_t>(i)], SwayAt((200 + i) / 100.0));
  }
  const ImuSample strong = {{0.5, -1.0, 1.5}, {2.0, -3.0, 4.0}};  // the mount hardly turns about z
  Packet packet;
  ByteWriter writer(packet.payload, ByteWriter::Order::Little);
  WriteBlocksHead(writer);
  for (int i = 0; i < 64; ++i) WriteJuniqBlock(writer, {});
  WriteJuniqTail(writer, {0, 0.0, 0.0, strong, 1});
  Decode(probe, {packet});
  ExpectSample(probe.samples.at(10), strong);
}

}  // namespace
}  // namespace orliq::sim
