// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "simulator/sensors/ImuMotion.h"
#include "simulator/sensors/PacketFields.h"
#include "simulator/sensors/corvik/CorvikEncoder.h"
#include "simulator/sensors/juniq/JuniqEncoder.h"
#include "support/SimulatedDecoding.h"

namespace orliq::sim {
namespace {

const ImuSample kStrong = {{0.5, -1.0, 1.5}, {2.0, -3.0, 4.0}};  // the mount hardly turns about z

void WriteStrongJuniq(ByteWriter& writer) {
  WriteBlocksHead(writer);
  for (int i = 0; i < 64; ++i) WriteJuniqBlock(writer, {});
  WriteJuniqTail(writer, {0, 0.0, 0.0, kStrong, 1});
}

void WriteStrongCorvik(ByteWriter& writer) {
  WriteCorvikHead(writer, 0);
  for (int i = 0; i < 192; ++i) WriteCorvikSample(writer, {});
  WriteCorvikTail(writer, kStrong, 0.0);
}

struct Unit {
  const char* model;
  double gyro_count;  // [rad/s / pi]
  double packets_per_second;
  void (*write_strong)(ByteWriter& writer);
};

/// A sample in the driver's words is that one, to half a count of the sensor.
void ExpectSample(const Unit& unit, const lidar::ImuMsg& m, const ImuSample& sample) {
  const double got[] = {m.angular_velocity_x,    m.angular_velocity_y,    m.angular_velocity_z,
                        m.linear_acceleration_x, m.linear_acceleration_y, m.linear_acceleration_z};
  const auto& [turn, push] = sample;
  const double expected[] = {turn.x, turn.y, turn.z, push.x, push.y, push.z};
  for (std::size_t i = 0; i < 6; ++i) {
    const double count = i < 3 ? unit.gyro_count * 3.141592653589793 : 0.004788403;
    EXPECT_NEAR(got[i], expected[i], 0.5001 * count) << unit.model << " axis " << i;
  }
}

TEST(ImuSensors, SamplesAreTheMountsMotionWithEachAxisInItsPlace) {
  const Unit units[] = {{"juniq", 0.000173611, 7680.0, WriteStrongJuniq},
                        {"corvik", 2.0345e-5, 560.0, WriteStrongCorvik}};
  for (const Unit& unit : units) {
    SensorOptions options;
    options.start_time_s = 1.7e9 + 1.0;  // the mount sways in whole periods until 1.7e9
    const auto sensor = MakeSensor(unit.model, options);
    test::SimulatedDecoding<Point> decoding(unit.model, *sensor);
    decoding.Decode(sensor->EncodeFrame(*MakeScene("boxes"), 20));
    ASSERT_EQ(decoding.samples.size(), 10U) << "100 a second, from 2 s on";
    for (std::size_t i = 0; i < 10; ++i) {
      const double time_s = 2.0 + 0.01 * static_cast<double>(i);
      ExpectSample(unit, decoding.samples[i], SwayAt(time_s));
      const double wait = 1.0 / unit.packets_per_second + 1e-6;  // for the packet that carries it
      EXPECT_NEAR(decoding.samples[i].timestamp, options.start_time_s + time_s + wait / 2,
                  wait / 2);
    }
    Packet packet;
    ByteWriter writer(packet.payload, ByteWriter::Order::Little);
    unit.write_strong(writer);
    decoding.Decode({packet});
    ExpectSample(unit, decoding.samples.at(10), kStrong);
  }
}

}  // namespace
}  // namespace orliq::sim
