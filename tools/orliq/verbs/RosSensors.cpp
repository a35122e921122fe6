// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/RosSensors.h"

#include <cctype>
#include <set>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

RosSensor Describe(const PublishedSensor& sensor, const std::string& name) {
  const Model& model = *sensor.model;
  RosSensor described = {name, sensor.name};
  const auto [rows, columns] = GridOf(model);
  described.rows = rows;
  described.columns = columns;
  described.has_imu = model.has_imu && sensor.live;  // samples are those of live sensors
  return described;
}

/// What tf2 takes: it drops a frame that begins with "/", and one that stands in itself.
void RequireFrame(const std::string& frame, const std::string& base) {
  for (const std::string& name : {frame, base}) {
    if (name.front() != '/') continue;
    throw Failure(ExitCode::kUsage, "a frame of ROS 2 cannot begin with \"/\": " + name);
  }
  if (frame != base) return;
  throw Failure(ExitCode::kUsage, "the robot and a sensor cannot both be the frame " + frame +
                                      ": give one of them another name");
}

}  // namespace

std::string RosNameOf(const std::string& name) {
  std::string allowed;
  for (const char c : name) {
    const bool plain = std::isalnum(static_cast<unsigned char>(c)) != 0 || c == '_';
    allowed += plain ? c : '_';
  }
  if (allowed.empty() || std::isdigit(static_cast<unsigned char>(allowed.front())) != 0) {
    allowed.insert(0, "_");
  }
  return allowed;
}

std::vector<RosSensor> DescribeForRos(const std::vector<PublishedSensor>& sensors,
                                      const std::string& base) {
  std::vector<RosSensor> described;
  std::set<std::string> names;
  for (const PublishedSensor& sensor : sensors) {
    RequireFrame(sensor.name, base);
    const std::string name = RosNameOf(sensor.name);
    if (!names.insert(name).second) {
      throw Failure(ExitCode::kUsage,
                    "the topics of two sensors would both be called /" + name + "/points");
    }
    described.push_back(Describe(sensor, name));
  }
  return described;
}

std::vector<RosTransform> PosesForRos(const std::vector<PublishedSensor>& sensors,
                                      const std::string& base) {
  std::vector<RosTransform> poses;
  poses.reserve(sensors.size());
  for (const PublishedSensor& sensor : sensors) {
    poses.push_back({{RosTimeNow(), base}, sensor.name, sensor.pose});
  }
  return poses;
}

}  // namespace orliq::cli
