// SPDX-License-Identifier: Apache-2.0
#include "orliq/ros/RosMessages.h"

#include <fastcdr/exceptions/Exception.h>

#include <cmath>

#include "orliq/ros/CdrText.h"

namespace orliq::cli {
namespace {

constexpr double kHalfDegree = 3.14159265358979323846 / 360.0;  // [rad]

using Covariance = std::array<double, 9>;
constexpr Covariance kUnknown = {};  // all zero, as ROS has it
constexpr Covariance kNotMeasured = {-1, 0, 0, 0, 0,
                                     0,  0, 0, 0};  // likewise, for a value of no sense

template <typename Value>
Value Get(eprosima::fastcdr::Cdr& cdr) {
  Value value{};
  cdr.deserialize(value);
  return value;
}

RosStatus GetStatus(eprosima::fastcdr::Cdr& cdr) {
  RosStatus status;
  status.level = static_cast<RosLevel>(Get<std::uint8_t>(cdr));
  for (std::string* const text : {&status.name, &status.message, &status.hardware}) {
    *text = Get<std::string>(cdr);
  }
  for (auto values = Get<std::uint32_t>(cdr); values > 0; --values) {
    const auto key = Get<std::string>(cdr);
    status.values.emplace_back(key, Get<std::string>(cdr));
  }
  return status;
}

}  // namespace

void RequireRosMessages() {}

std::string ImuCdr(const RosHeader& header, const lidar::ImuMsg& sample) {
  constexpr std::array<double, 4> kNoTurn = {0.0, 0.0, 0.0, 1.0};
  const auto vector = [](float x, float y, float z) { return std::array<double, 3>{x, y, z}; };
  CdrText cdr;
  cdr << header << kNoTurn << kNotMeasured
      << vector(sample.angular_velocity_x, sample.angular_velocity_y, sample.angular_velocity_z)
      << kUnknown
      << vector(sample.linear_acceleration_x, sample.linear_acceleration_y,
                sample.linear_acceleration_z)
      << kUnknown;
  return cdr.Bytes();
}

std::array<double, 4> QuaternionOf(const lidar::TransformParam& pose) {
  // Of Rz(yaw) * Ry(pitch) * Rx(roll), the order of the extrinsics: the product of three half turns.
  const double sr = std::sin(pose.roll * kHalfDegree);
  const double cr = std::cos(pose.roll * kHalfDegree);
  const double sp = std::sin(pose.pitch * kHalfDegree);
  const double cp = std::cos(pose.pitch * kHalfDegree);
  const double sy = std::sin(pose.yaw * kHalfDegree);
  const double cy = std::cos(pose.yaw * kHalfDegree);
  return {sr * cp * cy - cr * sp * sy, cr * sp * cy + sr * cp * sy, cr * cp * sy - sr * sp * cy,
          cr * cp * cy + sr * sp * sy};
}

std::string TransformsCdr(const std::vector<RosTransform>& transforms) {
  CdrText cdr;
  cdr.Sequence(transforms.size());
  for (const RosTransform& transform : transforms) {
    const lidar::TransformParam& pose = transform.pose;
    cdr << transform.header << transform.child << std::array<double, 3>{pose.x, pose.y, pose.z}
        << QuaternionOf(pose);
  }
  return cdr.Bytes();
}

std::string DiagnosticsCdr(const RosHeader& header, const std::vector<RosStatus>& statuses) {
  CdrText cdr;
  cdr << header;
  cdr.Sequence(statuses.size());
  for (const RosStatus& status : statuses) {
    cdr << static_cast<std::uint8_t>(status.level) << status.name << status.message
        << status.hardware;
    cdr.Sequence(status.values.size());
    for (const auto& [key, value] : status.values) cdr << key << value;
  }
  return cdr.Bytes();
}

std::vector<RosStatus> ParseDiagnostics(const std::string& cdr) {
  std::string bytes = cdr;  // the reader wants to own it
  eprosima::fastcdr::FastBuffer buffer(bytes.data(), bytes.size());
  eprosima::fastcdr::Cdr reader(buffer, eprosima::fastcdr::Cdr::LITTLE_ENDIANNESS,
                                eprosima::fastcdr::Cdr::DDS_CDR);
  std::vector<RosStatus> statuses;
  try {
    reader.read_encapsulation();
    Get<std::int32_t>(reader);  // the header
    Get<std::uint32_t>(reader);
    Get<std::string>(reader);
    for (auto left = Get<std::uint32_t>(reader); left > 0; --left) {
      statuses.push_back(GetStatus(reader));
    }
  } catch (const eprosima::fastcdr::exception::Exception&) {
    return {};
  }
  return statuses;
}

}  // namespace orliq::cli
