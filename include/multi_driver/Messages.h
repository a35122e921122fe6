// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "multi_driver/Export.h"

namespace orliq::lidar {

/// What went wrong with a packet.
enum ErrorCode : std::uint32_t {
  kErrorPacketLength = 0x41,      ///< packet length differs from the model's packet length
  kErrorPacketIdentifier = 0x42,  ///< packet does not begin with the model's identifier
};

/// An asynchronous fault, handed to the exception callback. Reports of a kind are at least two
/// whole seconds of the wall clock apart, counted over all sensors of a point type; indexing a
/// capture and decoding count apart.
struct ORLIQ_API Error {
  std::uint32_t code = 0;   ///< an ErrorCode
  std::uint32_t level = 0;  ///< 1: the packet was dropped, the stream goes on
};

/// One sample of the sensor's inertial unit, in the axes of the sensor frame: x forward, y left, z up.
/// The extrinsic transform does not apply to it.
///
/// Made empty by the application's IMU provider, filled by the decoder, handed to the IMU consumer.
struct ORLIQ_API ImuMsg {
  std::uint8_t valid = 0;              ///< 1 once a decoder has filled the sample
  double timestamp = 0.0;              ///< [s] since 1970-01-01 UTC, of the packet that carried it
  float orientation[4] = {};           ///< the application's own: no sensor measures it
  float angular_velocity_x = 0.0F;     ///< [rad/s]
  float angular_velocity_y = 0.0F;     ///< [rad/s]
  float angular_velocity_z = 0.0F;     ///< [rad/s]
  float linear_acceleration_x = 0.0F;  ///< [m/s^2]
  float linear_acceleration_y = 0.0F;  ///< [m/s^2]
  float linear_acceleration_z = 0.0F;  ///< [m/s^2]
};
static_assert(offsetof(ImuMsg, timestamp) == 8 && offsetof(ImuMsg, orientation) == 16 &&
              offsetof(ImuMsg, angular_velocity_x) == 32 &&
              offsetof(ImuMsg, linear_acceleration_z) == 52);

}  // namespace orliq::lidar
