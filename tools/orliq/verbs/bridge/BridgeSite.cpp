// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/bridge/BridgeSite.h"

#include <cctype>
#include <set>

#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

RosSensor Describe(const ConfiguredSensor& sensor, const std::string& name) {
  const Model& model = *sensor.model;
  RosSensor described = {name, sensor.name};
  const auto [rows, columns] = GridOf(model);
  described.rows = rows;
  described.columns = columns;
  described.has_imu = model.has_imu && sensor.IsLive();  // samples are those of live sensors
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
                                      ": --base names that of the robot");
}

std::vector<RosSensor> DescribeAll(const std::vector<ConfiguredSensor>& sensors,
                                   const std::string& base) {
  std::vector<RosSensor> described;
  std::set<std::string> names;
  for (const ConfiguredSensor& sensor : sensors) {
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

std::vector<RosTransform> PosesOf(const std::vector<ConfiguredSensor>& sensors,
                                  const std::string& base) {
  std::vector<RosTransform> poses;
  for (const ConfiguredSensor& sensor : sensors) {
    poses.push_back({{RosTimeNow(), base}, sensor.name, sensor.decoder.transform_param});
    if (poses.back().pose.enable == 0) poses.back().pose = {};
  }
  return poses;
}

std::string DdsText(const DdsSettings& settings) {
  return "DDS domain " + std::to_string(settings.domain) +
         (settings.loopback_only ? " on this machine only" : "") +
         (settings.reliable ? ", reliable" : ", best effort");
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

BridgeSite::BridgeSite(const PublishOptions& options, const std::vector<ConfiguredSensor>& sensors,
                       const Console& console) {
  std::vector<RosSensor> described = DescribeAll(sensors, options.base);
  for (const RosSensor& sensor : described) topics_.push_back('/' + sensor.name + "/points");
  std::vector<RosOutlet*> outlets;
  if (options.dds) {
    DdsSettings settings = DdsSettingsOfRos();
    settings.reliable = options.reliable;
    dds_ = std::make_unique<DdsOutlet>(settings);
    outlets.push_back(dds_.get());
    console.Announce("publishing over " + DdsText(settings));
  }
  feed_ = std::make_unique<RosFeed>(std::move(described), options.stamp, std::move(outlets));
  feed_->Tell(PosesOf(sensors, options.base));
}

std::uint64_t BridgeSite::Refused() const {
  return dds_ ? dds_->Refused() : 0;
}

}  // namespace orliq::cli
