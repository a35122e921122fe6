// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/ImuMotion.h"

#include <cmath>

namespace orliq::sim {
namespace {

constexpr double kPi = 3.141592653589793;
constexpr double kGravity = 9.81;                  // [m/s^2]
constexpr double kRollSwing = 0.7 * kPi / 180.0;   // [rad]
constexpr double kPitchSwing = 1.0 * kPi / 180.0;  // [rad]
constexpr double kRollPulse = 2.0 * kPi * 0.13;    // [rad/s] one swing in about 8 s
constexpr double kPitchPulse = 2.0 * kPi * 0.2;    // [rad/s] one swing in 5 s

}  // namespace

ImuSample SwayAt(double time_s) {
  const double roll = kRollSwing * std::sin(kRollPulse * time_s);
  const double pitch = kPitchSwing * std::sin(kPitchPulse * time_s);
  const double roll_rate = kRollSwing * kRollPulse * std::cos(kRollPulse * time_s);
  const double pitch_rate = kPitchSwing * kPitchPulse * std::cos(kPitchPulse * time_s);
  return {{roll_rate, pitch_rate * std::cos(roll), -pitch_rate * std::sin(roll)},
          {-kGravity * std::sin(pitch), kGravity * std::cos(pitch) * std::sin(roll),
           kGravity * std::cos(pitch) * std::cos(roll)}};
}

ImuReading LatestImu(double time_s) {
  const auto number = static_cast<std::uint64_t>(time_s * kImuRate);
  return {number, SwayAt(static_cast<double>(number) / kImuRate)};
}

}  // namespace orliq::sim
