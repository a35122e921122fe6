// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"
#include "multi_driver/Messages.h"
#include "orliq/clouds/CloudView.h"
#include "orliq/ros/RosTypes.h"

// What our clouds and samples are in ROS 2, as it travels and is stored: CDR, little-endian, behind the
// four bytes that say so. Safe from any thread. Failure, with what to install: a program that was built
// without Fast CDR.
namespace orliq::cli {

/// Throws that Failure, so that a verb ends before it has begun.
void RequireRosMessages();

/// A cloud with the fields that ROS users expect first: x, y, z [m], intensity as FLOAT32, ring as
/// UINT16, and of a point type with times `time` as FLOAT32, in seconds since the cloud's own time,
/// whatever the header's stamp. The others of the point type follow as they are.
///
/// What measured nothing has NaN for x, y and z, and a cloud that has such points is not dense: those at
/// the origin, and those that lie where a sensor stands, at one of `origins`.
///
/// A cloud whose points tell row and column is a grid of `rows` x `columns`, if each point has a cell of
/// its own; else, as one with 0 rows, a list in the order of the sensor.
struct RosCloud {
  RosHeader header;
  CloudView cloud;
  std::vector<Origin> origins;
  std::size_t rows = 0;
  std::size_t columns = 0;
};
std::string PointCloud2Cdr(const RosCloud& cloud);

/// The same, behind what the text holds.
void AppendPointCloud2(const RosCloud& cloud, std::string& to);

/// [s] UTC of a cloud, or of its first point where the end of a capture left it without; 0: it has none.
double TimeOf(const CloudView& cloud);

/// No sensor measures its orientation, and the message says so.
std::string ImuCdr(const RosHeader& header, const lidar::ImuMsg& sample);

/// Where a sensor stands on its robot.
struct RosTransform {
  RosHeader header;   ///< `frame`: of the robot
  std::string child;  ///< frame of the sensor
  lidar::TransformParam pose;
};
std::string TransformsCdr(const std::vector<RosTransform>& transforms);

/// x, y, z, w of the rotation of a pose.
std::array<double, 4> QuaternionOf(const lidar::TransformParam& pose);

enum class RosLevel : std::uint8_t { kOk, kWarn, kError, kStale };

struct RosStatus {
  RosLevel level = RosLevel::kOk;
  std::string name;
  std::string message;
  std::string hardware;
  std::vector<std::pair<std::string, std::string>> values;
};
std::string DiagnosticsCdr(const RosHeader& header, const std::vector<RosStatus>& statuses);

/// What such a message of anybody tells; nothing for bytes that are none.
std::vector<RosStatus> ParseDiagnostics(const std::string& cdr);

}  // namespace orliq::cli
