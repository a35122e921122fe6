// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/corvik/CorvikEncoder.h"

#include <cmath>

#include "simulator/sensors/PacketFields.h"

namespace orliq::sim {
namespace {

constexpr double kRangeUnit = 0.009375;  // [m] per distance code
constexpr double kRangeOfCode0 = -2.0;   // [m] codes up to 213 lie behind the sensor
constexpr double kPi = 3.141592653589793;
constexpr double kGyroUnit = 2.0345e-5 * kPi;  // [rad/s]
constexpr double kAccelUnit = 0.004788403;     // [m/s^2]

}  // namespace

std::uint16_t CorvikDistanceCode(double range_m) {
  return static_cast<std::uint16_t>(std::lround((range_m - kRangeOfCode0) / kRangeUnit));
}

void WriteCorvikHead(ByteWriter& writer, std::uint8_t line) {
  WriteIdentifier(writer);
  writer.Zeros(16).U8(line).Zeros(3);
}

void WriteCorvikSample(ByteWriter& writer, const CorvikSample& sample) {
  const auto kind = static_cast<std::uint32_t>(sample.kind);
  writer.U16(sample.intensity | kind << 12U).U16(sample.distance_code).Zeros(2);
}

void WriteCorvikTail(ByteWriter& writer, const ImuSample& imu, double time_s) {
  writer.Zeros(17);
  WriteImuBlock(writer, imu, kGyroUnit, kAccelUnit);
  writer.Zeros(1);
  WriteUtcBlock(writer, time_s);
  writer.Zeros(16);
}

}  // namespace orliq::sim
