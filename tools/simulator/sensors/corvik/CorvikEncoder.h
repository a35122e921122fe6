// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "simulator/sensors/ByteWriter.h"
#include "simulator/sensors/ImuMotion.h"

namespace orliq::sim {

constexpr std::size_t kCorvikPacketBytes = 1236;
constexpr std::size_t kCorvikSamplesPerPacket = 192;

/// The high four bits of a sample's intensity. What a real unit says there is not known: these are
/// there to show a decoder that takes them for intensity.
enum class CorvikReturn : std::uint8_t { kNone = 0, kWeak = 1, kStrong = 2 };

/// One sample on the wire. Default: nothing came back.
struct CorvikSample {
  std::uint16_t intensity = 0;  ///< 12 bits
  CorvikReturn kind = CorvikReturn::kNone;
  std::uint16_t distance_code = 0;
};

/// The code whose range is `range_m` (0 to 612 m) to half a quantum of 9.375 mm.
std::uint16_t CorvikDistanceCode(double range_m);

/// Appends the head of a packet. kCorvikSamplesPerPacket samples and one tail follow it.
void WriteCorvikHead(ByteWriter& writer, std::uint8_t line);
void WriteCorvikSample(ByteWriter& writer, const CorvikSample& sample);

/// `time_s` is in seconds since 1970-01-01 UTC.
void WriteCorvikTail(ByteWriter& writer, const ImuSample& imu, double time_s);

}  // namespace orliq::sim
