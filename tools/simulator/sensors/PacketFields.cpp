// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/PacketFields.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <ctime>

namespace orliq::sim {
namespace {

constexpr std::array<std::uint8_t, 8> kIdentifier = {0xEE, 0xFF, 0x01, 0xFF,
                                                     0xFF, 0xFF, 0xFF, 0xFF};

std::int16_t ImuCount(double value, double unit) {
  return static_cast<std::int16_t>(std::clamp(std::lround(value / unit), -32768L, 32767L));
}

std::uint32_t TemperatureCount(double celsius) {
  return static_cast<std::uint32_t>(std::clamp(std::lround((celsius + 64.0) / 0.0625), 0L, 65535L));
}

void WriteTriple(ByteWriter& writer, const Vec3& value, double unit) {
  writer.I16(ImuCount(value.y, unit)).I16(ImuCount(-value.z, unit)).I16(ImuCount(-value.x, unit));
}

}  // namespace

void WriteIdentifier(ByteWriter& writer) {
  writer.Bytes(kIdentifier);
}

void WriteBlocksHead(ByteWriter& writer) {
  WriteIdentifier(writer);
  writer.Zeros(17);
}

void WriteFrameWords(ByteWriter& writer, std::uint64_t frame, double scene_time_s) {
  const double warmth = 2.0 * std::sin(scene_time_s * 0.01);  // [deg C]
  writer.U16(static_cast<std::uint16_t>(frame))
      .U16(TemperatureCount(45.0 + warmth))
      .U16(TemperatureCount(40.0 + 0.5 * warmth));
}

void WriteImuBlock(ByteWriter& writer, const ImuSample& sample, double gyro_unit,
                   double accel_unit) {
  WriteTriple(writer, sample.acceleration, accel_unit);
  WriteTriple(writer, sample.angular_velocity, gyro_unit);
}

void WriteUtcBlock(ByteWriter& writer, double time_s) {
  constexpr long kMicros = 1000000;  // [us/s]
  auto seconds = static_cast<std::time_t>(std::floor(time_s));
  long micros = std::lround((time_s - static_cast<double>(seconds)) * kMicros);
  if (micros == kMicros) {  // rounded up into the next second
    ++seconds;
    micros = 0;
  }
  std::tm calendar{};
  gmtime_r(&seconds, &calendar);
  writer.U24(static_cast<std::uint32_t>(micros))
      .U16(static_cast<std::uint32_t>(calendar.tm_year + 1900))
      .U8(static_cast<std::uint32_t>(calendar.tm_mon + 1))
      .U8(static_cast<std::uint32_t>(calendar.tm_mday))
      .U8(static_cast<std::uint32_t>(calendar.tm_hour))
      .U8(static_cast<std::uint32_t>(calendar.tm_min))
      .U8(static_cast<std::uint32_t>(calendar.tm_sec));
}

}  // namespace orliq::sim
