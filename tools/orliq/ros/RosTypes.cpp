// SPDX-License-Identifier: Apache-2.0
#include "orliq/ros/RosTypes.h"

#include <chrono>
#include <cmath>
#include <limits>

// The definitions of ROS 2's common interfaces, without their remarks.
#define ORLIQ_ROS_RULE \
  "================================================================================\n"
#define ORLIQ_ROS_HEADER   \
  ORLIQ_ROS_RULE           \
  "MSG: std_msgs/Header\n" \
  "builtin_interfaces/Time stamp\nstring frame_id\n"
#define ORLIQ_ROS_TIME             \
  ORLIQ_ROS_RULE                   \
  "MSG: builtin_interfaces/Time\n" \
  "int32 sec\nuint32 nanosec\n"
#define ORLIQ_ROS_VECTOR3        \
  ORLIQ_ROS_RULE                 \
  "MSG: geometry_msgs/Vector3\n" \
  "float64 x\nfloat64 y\nfloat64 z\n"
#define ORLIQ_ROS_QUATERNION        \
  ORLIQ_ROS_RULE                    \
  "MSG: geometry_msgs/Quaternion\n" \
  "float64 x 0\nfloat64 y 0\nfloat64 z 0\nfloat64 w 1\n"

namespace orliq::cli {

const RosType kRosPointCloud2 = {"sensor_msgs/msg/PointCloud2",
                                 "std_msgs/Header header\n"
                                 "uint32 height\n"
                                 "uint32 width\n"
                                 "PointField[] fields\n"
                                 "bool is_bigendian\n"
                                 "uint32 point_step\n"
                                 "uint32 row_step\n"
                                 "uint8[] data\n"
                                 "bool is_dense\n" ORLIQ_ROS_HEADER ORLIQ_ROS_TIME ORLIQ_ROS_RULE
                                 "MSG: sensor_msgs/PointField\n"
                                 "uint8 INT8=1\nuint8 UINT8=2\nuint8 INT16=3\nuint8 UINT16=4\n"
                                 "uint8 INT32=5\nuint8 UINT32=6\nuint8 FLOAT32=7\nuint8 FLOAT64=8\n"
                                 "string name\n"
                                 "uint32 offset\n"
                                 "uint8 datatype\n"
                                 "uint32 count\n"};

const RosType kRosImu = {
    "sensor_msgs/msg/Imu",
    "std_msgs/Header header\n"
    "geometry_msgs/Quaternion orientation\n"
    "float64[9] orientation_covariance\n"
    "geometry_msgs/Vector3 angular_velocity\n"
    "float64[9] angular_velocity_covariance\n"
    "geometry_msgs/Vector3 linear_acceleration\n"
    "float64[9] linear_acceleration_covariance\n" ORLIQ_ROS_HEADER ORLIQ_ROS_TIME
        ORLIQ_ROS_QUATERNION ORLIQ_ROS_VECTOR3};

const RosType kRosTransforms = {
    "tf2_msgs/msg/TFMessage", "geometry_msgs/TransformStamped[] transforms\n" ORLIQ_ROS_RULE
                              "MSG: geometry_msgs/TransformStamped\n"
                              "std_msgs/Header header\n"
                              "string child_frame_id\n"
                              "Transform transform\n" ORLIQ_ROS_HEADER ORLIQ_ROS_TIME ORLIQ_ROS_RULE
                              "MSG: geometry_msgs/Transform\n"
                              "Vector3 translation\n"
                              "Quaternion rotation\n" ORLIQ_ROS_VECTOR3 ORLIQ_ROS_QUATERNION};

const RosType kRosDiagnostics = {
    "diagnostic_msgs/msg/DiagnosticArray",
    "std_msgs/Header header\n"
    "DiagnosticStatus[] status\n" ORLIQ_ROS_HEADER ORLIQ_ROS_TIME ORLIQ_ROS_RULE
    "MSG: diagnostic_msgs/DiagnosticStatus\n"
    "byte OK=0\nbyte WARN=1\nbyte ERROR=2\nbyte STALE=3\n"
    "byte level\n"
    "string name\n"
    "string message\n"
    "string hardware_id\n"
    "KeyValue[] values\n" ORLIQ_ROS_RULE
    "MSG: diagnostic_msgs/KeyValue\n"
    "string key\n"
    "string value\n"};

const RosType kRosPacket = {"orliq_msgs/msg/Packet",
                            "builtin_interfaces/Time stamp\n"
                            "string source\n"
                            "uint16 source_port\n"
                            "string destination\n"
                            "uint16 port\n"
                            "uint8[] data\n" ORLIQ_ROS_TIME};

std::uint64_t RosTime::Nanoseconds() const {
  constexpr std::uint64_t kSecond = 1'000'000'000;
  return seconds < 0 ? 0 : static_cast<std::uint64_t>(seconds) * kSecond + nanoseconds;
}

RosTime ToRosTime(double seconds) {
  constexpr double kMax = std::numeric_limits<std::int32_t>::max();
  constexpr double kMin = std::numeric_limits<std::int32_t>::min();
  if (std::isnan(seconds)) return {};
  if (seconds >= kMax) return {std::numeric_limits<std::int32_t>::max(), 0};
  if (seconds <= kMin) return {std::numeric_limits<std::int32_t>::min(), 0};
  double whole = std::floor(seconds);
  double microseconds = std::round((seconds - whole) * 1e6);
  if (microseconds >= 1e6) {
    whole += 1.0;
    microseconds = 0.0;
  }
  return {static_cast<std::int32_t>(whole), 1000 * static_cast<std::uint32_t>(microseconds)};
}

RosTime RosTimeNow() {
  const auto now = std::chrono::system_clock::now().time_since_epoch();
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(now);
  const auto rest = std::chrono::duration_cast<std::chrono::nanoseconds>(now - seconds);
  return {static_cast<std::int32_t>(seconds.count()), static_cast<std::uint32_t>(rest.count())};
}

}  // namespace orliq::cli
