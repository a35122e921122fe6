// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "orliq/ros/RosFeed.h"
#include "orliq/sensors/Models.h"

// What the sensors of a program are in ROS 2.
namespace orliq::cli {

/// A sensor whose clouds become messages.
struct PublishedSensor {
  std::string name;
  const Model* model = nullptr;  ///< never null
  lidar::TransformParam pose;    ///< in the frame of the robot
  bool live = false;
};

/// "front_left" for "front-left": what ROS 2 allows in the name of a topic, with "_" for all else.
std::string RosNameOf(const std::string& name);

/// Each with points in a frame of its own, untransformed. `base` is that of the robot. Throws Failure for frames
/// that tf2 does not take, and for two sensors of one topic.
std::vector<RosSensor> DescribeForRos(const std::vector<PublishedSensor>& sensors,
                                      const std::string& base);

/// Where those frames stand.
std::vector<RosTransform> PosesForRos(const std::vector<PublishedSensor>& sensors,
                                      const std::string& base);

}  // namespace orliq::cli
