// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "decoder/PacketBlocks.h"
#include "multi_driver/Messages.h"

namespace orliq::lidar {

/// What one count of a sensor's inertial unit stands for.
struct ImuUnits {
  double rate;          // [pi rad/s]
  double acceleration;  // [m/s^2]
};

/// Fills the message with a raw sample, its axes turned into those of the point frame. `Raw` decides
/// what a zero on an axis that is turned round becomes: +0 for int, -0 for double.
template <typename Raw>
void FillImuMsg(ImuMsg& imu, const IMUBlock& block, double time_s, const ImuUnits& units) {
  constexpr double kPi = 3.141592653589793;
  const auto raw = [&block](int i) { return static_cast<Raw>(std::int16_t{block.w[i]}); };
  const auto rate = [&](Raw count) { return static_cast<float>(count * units.rate * kPi); };
  const auto acceleration = [&](Raw count) {
    return static_cast<float>(count * units.acceleration);
  };
  imu.valid = 1;
  imu.timestamp = time_s;
  imu.angular_velocity_x = rate(-raw(5));
  imu.angular_velocity_y = rate(raw(3));
  imu.angular_velocity_z = rate(-raw(4));
  imu.linear_acceleration_x = acceleration(-raw(2));
  imu.linear_acceleration_y = acceleration(raw(0));
  imu.linear_acceleration_z = acceleration(-raw(1));
}

}  // namespace orliq::lidar
