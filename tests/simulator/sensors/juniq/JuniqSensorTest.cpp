// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/juniq/JuniqSensor.h"

#include <gtest/gtest.h>

#include <array>
#include <cmath>
#include <set>

#include "support/DecoderProbe.h"

namespace orliq::sim {
namespace {

SensorOptions WithFaults(double noise_m, double false_rate) {
  SensorOptions options;
  options.faults = {noise_m, false_rate};
  return options;
}

template <typename P>
void Decode(test::JuniqProbe<P>& probe, const std::vector<Packet>& packets) {
  for (const Packet& packet : packets) {
    probe.decoder.ProcessMsopPacket(packet.payload.data(), packet.payload.size(), 0);
  }
}

unsigned Position(const JuniqPoint& point) {
  return point.column + 256U * point.row;
}

/// Range [m] of a raw measurement after all corrections and the near filter, 0 for none: the
/// decoder's arithmetic once more in double precision, as a second opinion.
double Range(const JuniqPoint& point, const BeamCalibration& unit) {
  const double r = static_cast<double>(point.width) / point.width_ref;
  const double peak = point.peak;
  const auto& w = unit.weight;
  const auto& nf = unit.near_filter;
  double d = (point.tof / 64.0 * 1.645 - 2.09) * 0.14989623 - unit.offset[Position(point)];
  if (d <= 0.0) return 0.0;
  d -= w[2] * r * r + w[0] * r + w[1] * d + w[3];
  d -= point.column < 128 ? nf[8] : nf[7];
  const bool weak = d < nf[3] ? peak < nf[2] : d < nf[1] && peak < (nf[1] - d) / nf[1] * nf[0];
  return weak ? 0.0 : d;
}

/// Direction of a beam in the point frame: the azimuth table turns the other way.
Vec3 Direction(unsigned position, const BeamCalibration& unit) {
  const double az = unit.azimuth[position] * -3.141592653589793 / 180.0;
  const double el = unit.elevation[position] * 3.141592653589793 / 180.0;
  return {std::cos(el) * std::cos(az), std::cos(el) * std::sin(az), std::sin(el)};
}

TEST(JuniqSensor, FrameHoldsEveryBeamOnceAndEndsWithTheMarker) {
  test::JuniqProbe<JuniqPoint> probe;
  Decode(probe, JuniqSensor{SensorOptions{}}.EncodeFrame(*MakeScene("boxes"), 300));
  ASSERT_EQ(probe.frames.size(), 1U);
  const PointCloud<JuniqPoint>& frame = *probe.frames[0];
  EXPECT_EQ(frame.frame_word, 300);
  EXPECT_NEAR(frame.timestamp, 1700000030.0, 1e-6) << "UTC, ten frames a second";
  EXPECT_NEAR(frame.temperature_a, 45.0, 2.1);
  EXPECT_NEAR(frame.temperature_b, 40.0, 1.1);
  EXPECT_EQ(frame.status, 1);
  ASSERT_EQ(frame.points.size(), 49152U);
  std::set<unsigned> positions;
  for (const JuniqPoint& point : frame.points) {
    positions.insert(Position(point));
    ASSERT_NE(point.width_ref, 0U) << "divisor of the pulse ratio";
  }
  EXPECT_EQ(positions.size(), 49152U);
  EXPECT_EQ(*positions.rbegin(), 49151U);
  EXPECT_EQ(Position(frame.points.back()), 0xBF7FU) << "column 127, row 191";
}

TEST(JuniqSensor, RangeIsTheScenesToHalfAQuantum) {
  constexpr double kQuantum = 0.14989623 * 1.645 / 64.0;  // [m] per step of the time of flight
  JuniqSensor sensor{WithFaults(0.0, 0.1)};
  const BeamCalibration& unit = sensor.Calibration();
  const auto scene = MakeScene("moving-box");
  sensor.EncodeFrame(*scene, 29);  // whose truth is forgotten
  const auto packets = sensor.EncodeFrame(*scene, 30);
  test::JuniqProbe<JuniqPoint> probe;
  Decode(probe, packets);
  ASSERT_EQ(sensor.Truth().size(), 49152U);
  for (std::size_t i = 0; i < 49152; ++i) {
    const BeamTruth& truth = sensor.Truth()[i];
    const JuniqPoint& point = probe.frames.at(0)->points.at(i);
    ASSERT_EQ(Position(point), truth.position);
    ASSERT_EQ(point.tof != 0, truth.measured) << "nothing came back: no time either";
    ASSERT_NEAR(Range(point, unit), truth.range_m, kQuantum / 2);
    if (truth.is_false) continue;
    const double elapsed = packets[i / 64].time_s - SensorOptions{}.start_time_s;
    const double range = scene->Cast(Direction(truth.position, unit), elapsed).range_m;
    ASSERT_NEAR(truth.range_m, range <= 230.0 ? range : 0.0, 1e-5) << truth.position;
  }
}

TEST(JuniqSensor, BytesFollowFromTheSeedAlone) {
  const auto frame_1 = [scene = MakeScene("boxes")](JuniqSensor& sensor) {
    std::vector<std::vector<std::uint8_t>> payloads;
    for (const Packet& packet : sensor.EncodeFrame(*scene, 1)) payloads.push_back(packet.payload);
    return payloads;
  };
  SensorOptions options = WithFaults(0.02, 0.01);
  JuniqSensor first{options};
  JuniqSensor again{options};
  options.seed = 2;
  JuniqSensor other{options};
  first.EncodeFrame(*MakeScene("boxes"), 0);
  EXPECT_EQ(frame_1(first), frame_1(again)) << "whatever was encoded before";
  EXPECT_NE(frame_1(first), frame_1(other));
  EXPECT_NE(first.Calibration().azimuth, other.Calibration().azimuth);
}

std::array<double, 6> Axes(const ImuSample& sample) {
  const auto& [turn, push] = sample;
  return {turn.x, turn.y, turn.z, push.x, push.y, push.z};
}

/// A sample in the driver's words is that one, to half a count of the sensor.
void ExpectSample(const lidar::ImuMsg& m, const ImuSample& sample) {
  const std::array<double, 6> got = {m.angular_velocity_x,    m.angular_velocity_y,
                                     m.angular_velocity_z,    m.linear_acceleration_x,
                                     m.linear_acceleration_y, m.linear_acceleration_z};
  for (std::size_t i = 0; i < 6; ++i) {
    const double count = i < 3 ? 0.000173611 * 3.141592653589793 : 0.004788403;
    EXPECT_NEAR(got[i], Axes(sample)[i], 0.5001 * count) << "axis " << i;
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
  WriteJuniqHead(writer);
  for (int i = 0; i < 64; ++i) WriteJuniqBlock(writer, {});
  WriteJuniqTail(writer, {0, 0.0, 0.0, strong, 1});
  Decode(probe, {packet});
  ExpectSample(probe.samples.at(10), strong);
}

}  // namespace
}  // namespace orliq::sim
