// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

#include "common/FloatToInt.h"
#include "decoder/Decoder.h"
#include "decoder/Trigon.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/PointTypes.h"

// What the plain loops share. They are the yardstick of the decoders: one loop over the blocks of a
// packet with the library's arithmetic and tables, into a vector that the caller has reserved; no
// batch, no beam table, no virtual call, no frame handling. The bits are those of the decoder.
namespace orliq::bench {

template <typename P>
constexpr bool kTimed = std::is_same_v<P, PointTime> || std::is_same_v<P, PointSource>;

inline std::uint32_t Load16(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0] | p[1] << 8);
}
inline std::uint32_t Load24(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0] | p[1] << 8 | p[2] << 16);
}
inline std::uint32_t Load16BigEndian(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0] << 8 | p[1]);
}

/// Packet time [s], for the records that have one.
template <typename P>
double LoadTime(const std::uint8_t* p) {
  if constexpr (!kTimed<P>) return 0.0;
  lidar::UTCBlock utc;
  std::memcpy(&utc, p, sizeof utc);
  return lidar::Decoder<PointCloud<P>>::GetTimeUTCWithUs(utc);
}

/// Defined for every value, and a bare conversion for any that a sensor sends.
inline int Truncate(double value) {
  if (value > -1e9 && value < 1e9) return static_cast<int>(value);
  return lidar::SaturatingTruncate<int>(value);
}

/// The angle [0.01 deg] to look up: one outside the tables counts as 0.
inline int Held(int angle) {
  return lidar::Trigon::Holds(angle) ? angle : 0;
}

/// Whether the limits hold a return; angles in 0.01 deg, range in m.
inline bool Inside(const lidar::DecoderParam& limits, int azimuth, int elevation, float range) {
  const auto az = static_cast<float>(azimuth * 0.01);
  const auto el = static_cast<float>(elevation * 0.01);
  return limits.min_azimuth <= az && az <= limits.max_azimuth && limits.min_elevation <= el &&
         el <= limits.max_elevation && limits.min_distance <= range && range <= limits.max_distance;
}

template <typename P>
void SetTime(P& point, double time) {
  if constexpr (kTimed<P>) point.timestamp = time;
}
template <typename P>
void SetRange(P& point, float range) {
  if constexpr (std::is_same_v<P, PointSource>) point.distance = Truncate(range);
}

}  // namespace orliq::bench
