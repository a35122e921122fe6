// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace orliq::cli {

/// A message type of ROS 2.
struct RosType {
  const char* name;        ///< "sensor_msgs/msg/Imu"
  const char* definition;  ///< as of its .msg file, with those it is made of behind it ("ros2msg")
};

/// sensor_msgs/msg/PointCloud2
extern const RosType kRosPointCloud2;
/// sensor_msgs/msg/Imu
extern const RosType kRosImu;
/// tf2_msgs/msg/TFMessage
extern const RosType kRosTransforms;
/// diagnostic_msgs/msg/DiagnosticArray
extern const RosType kRosDiagnostics;
/// orliq_msgs/msg/Packet, of our own: a datagram as a sensor sent it
extern const RosType kRosPacket;

/// A moment of a message.
struct RosTime {
  std::int32_t seconds = 0;  ///< since 1970-01-01 UTC
  std::uint32_t nanoseconds = 0;

  /// [ns] since 1970-01-01 UTC; a moment before that: 0.
  std::uint64_t Nanoseconds() const;
};

/// To the microsecond, as the sensors count: near today a double of seconds resolves 0.24 us. What lies
/// outside the range of a message's time becomes the end of it, and no number becomes 0.
RosTime ToRosTime(double seconds);

/// Of the clock of this machine.
RosTime RosTimeNow();

/// What ROS calls the frame of a robot's body.
constexpr char kRobotFrame[] = "base_link";

/// What most messages begin with.
struct RosHeader {
  RosTime stamp;
  std::string frame;  ///< name of the coordinate frame
};

}  // namespace orliq::cli
