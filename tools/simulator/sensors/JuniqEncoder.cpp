// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/JuniqEncoder.h"

#include <algorithm>
#include <array>
#include <cmath>

#include "simulator/sensors/UtcBlock.h"

namespace orliq::sim {
namespace {

constexpr std::array<std::uint8_t, 8> kIdentifier = {0xEE, 0xFF, 0x01, 0xFF,
                                                     0xFF, 0xFF, 0xFF, 0xFF};
constexpr std::uint32_t kStatus = 1;  // the unit is well

// Raw range of v counts: (v * 1.645 - 2.09) * 0.14989623 metres. The decoder holds these numbers in
// single precision, so their inverse does too.
constexpr double kCountTime = 1.645F;          // [ns] per count
constexpr double kTriggerDelay = 2.09F;        // [ns]
constexpr double kRangePerTime = 0.14989623F;  // [m/ns] half the speed of light
constexpr double kFractions = 64.0;            // of a count

constexpr double kPi = 3.141592653589793;
constexpr double kGyroUnit = 0.000173611 * kPi;  // [rad/s]
constexpr double kAccelUnit = 0.004788403;       // [m/s^2]

std::int16_t ImuCount(double value, double unit) {
  return static_cast<std::int16_t>(std::clamp(std::lround(value / unit), -32768L, 32767L));
}

std::uint32_t TemperatureCount(double celsius) {
  return static_cast<std::uint32_t>(std::clamp(std::lround((celsius + 64.0) / 0.0625), 0L, 65535L));
}

/// The decoder's chain from the time of flight to the range, walked backwards.
std::uint32_t TimeOfFlight(const JuniqCalibration& unit, const JuniqBlock& block, double range_m) {
  const auto& w = unit.weight;
  const double side = unit.near_filter[block.position % kJuniqColumns < 128 ? 8 : 7];
  const double r = static_cast<float>(block.width) / static_cast<float>(block.width_ref);
  const double corrected = range_m + side;
  const double linear = corrected + w[2] * r * r + w[0] * r + w[3];
  const double raw = linear / (1.0 - w[1]) + unit.offset[block.position];
  const double counts = (raw / kRangePerTime + kTriggerDelay) / kCountTime;
  return static_cast<std::uint32_t>(std::lround(counts * kFractions));
}

}  // namespace

JuniqBlock EncodeReturn(const JuniqCalibration& unit, std::uint16_t position, double range_m,
                        double reflectivity) {
  JuniqBlock block;
  block.position = position;
  block.aux = static_cast<std::uint16_t>(100.0 + 200.0 * reflectivity);
  // Light thins out with the square of the range and never falls below what the near filter asks.
  block.peak = static_cast<std::uint32_t>(4000.0 + 4e6 * reflectivity / (1.0 + range_m * range_m));
  const double ratio = 0.4 + reflectivity * 30.0 / (30.0 + range_m);
  block.width = static_cast<std::uint32_t>(ratio * block.width_ref);
  block.tof = TimeOfFlight(unit, block, range_m);
  return block;
}

void WriteHead(ByteWriter& writer) {
  writer.Bytes(kIdentifier).Zeros(17);
}

void WriteBlock(ByteWriter& writer, const JuniqBlock& block) {
  writer
      .U16(block.position)  // column in the low byte, row in the high byte
      .U16(block.width_ref)
      .U16(block.aux)
      .U24(block.tof)
      .U24(block.peak)
      .U24(block.width)
      .Zeros(1);
}

void WriteTail(ByteWriter& writer, const JuniqState& state) {
  // The unit is built in turned: its axes map to the point frame with these signs and places.
  const Vec3& turn = state.imu.angular_velocity;
  const Vec3& push = state.imu.acceleration;
  writer.Zeros(10)
      .U16(state.frame)
      .U16(TemperatureCount(state.temperature_a))
      .U16(TemperatureCount(state.temperature_b))
      .I16(ImuCount(push.y, kAccelUnit))
      .I16(ImuCount(-push.z, kAccelUnit))
      .I16(ImuCount(-push.x, kAccelUnit))
      .I16(ImuCount(turn.y, kGyroUnit))
      .I16(ImuCount(-turn.z, kGyroUnit))
      .I16(ImuCount(-turn.x, kGyroUnit))
      .U8(kStatus);
  WriteUtcBlock(writer, state.time_s);
  writer.Zeros(4).U24(state.imu_stamp).Zeros(9);
}

}  // namespace orliq::sim
