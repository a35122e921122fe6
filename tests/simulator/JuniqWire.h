// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstdint>
#include <vector>

#include "simulator/JuniqCalibration.h"
#include "simulator/Sensor.h"

/// Reads Juniq packets by their byte offsets, in double precision: a second opinion on the encoder.
namespace orliq::sim::wire {

constexpr double kPi = 3.141592653589793;
constexpr double kQuantum =
    0.14989623 * 1.645 / 64.0;  // [m] of range per step of the time of flight

inline unsigned Uint(const std::uint8_t* at, int width) {
  return width == 0 ? 0U : at[0] + 256U * Uint(at + 1, width - 1);
}
inline const std::uint8_t* Block(const Packet& packet, std::size_t i) {
  return packet.payload.data() + 25 + 16 * i;
}
inline unsigned Position(const std::uint8_t* block) {
  return block[0] + 256U * block[1];
}

/// Range [m] of a block after all corrections and the near filter; 0 for none.
inline double Range(const std::uint8_t* block, const JuniqCalibration& unit) {
  const double tof = Uint(block + 6, 3);
  const double peak = Uint(block + 9, 3);
  const double r = static_cast<double>(Uint(block + 12, 3)) / Uint(block + 2, 2);
  const auto& w = unit.weight;
  const auto& nf = unit.near_filter;
  double d = (tof / 64.0 * 1.645 - 2.09) * 0.14989623 - unit.offset[Position(block)];
  if (d <= 0.0) {
    return 0.0;
  }
  d -= w[2] * r * r + w[0] * r + w[1] * d + w[3];
  d -= block[0] < 128 ? nf[8] : nf[7];
  const bool weak =
      d < nf[3] ? peak < nf[2] : d < nf[1] && peak < std::abs(d - nf[1]) / nf[1] * nf[0];
  return weak ? 0.0 : d;
}

/// Direction of a beam in the point frame: the azimuth table turns the other way.
inline Vec3 Direction(unsigned position, const JuniqCalibration& unit) {
  const double az = unit.azimuth[position] * -kPi / 180.0;
  const double el = unit.elevation[position] * kPi / 180.0;
  return {std::cos(el) * std::cos(az), std::cos(el) * std::sin(az), std::sin(el)};
}

/// Signed word `i` (0 to 5) of the inertial unit.
inline double ImuWord(const Packet& packet, int i) {
  return static_cast<std::int16_t>(Uint(packet.payload.data() + 1065 + 2 * i, 2));
}
inline Vec3 Turn(const Packet& packet) {  // [rad/s]
  constexpr double kUnit = 0.000173611 * kPi;
  return {-ImuWord(packet, 5) * kUnit, ImuWord(packet, 3) * kUnit, -ImuWord(packet, 4) * kUnit};
}
inline Vec3 Push(const Packet& packet) {  // [m/s^2]
  constexpr double kUnit = 0.004788403;
  return {-ImuWord(packet, 2) * kUnit, ImuWord(packet, 0) * kUnit, -ImuWord(packet, 1) * kUnit};
}
inline unsigned ImuStamp(const Packet& packet) {
  return Uint(packet.payload.data() + 1092, 3);
}

}  // namespace orliq::sim::wire
