// SPDX-License-Identifier: Apache-2.0
// In place of the messages, for a program that is built without the library they stand on.
#include "orliq/ros/RosMessages.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

void RequireRosMessages() {
  throw Failure(ExitCode::kUsage,
                "this orliq was built without ROS messages: install libfastcdr-dev and build it "
                "again");
}

std::string PointCloud2Cdr(const RosCloud& /*cloud*/) {
  RequireRosMessages();
  return {};
}

void AppendPointCloud2(const RosCloud& /*cloud*/, std::string& /*to*/) {
  RequireRosMessages();
}

double TimeOf(const CloudView& cloud) {
  return cloud.timestamp;
}

std::string ImuCdr(const RosHeader& /*header*/, const lidar::ImuMsg& /*sample*/) {
  RequireRosMessages();
  return {};
}

std::string TransformsCdr(const std::vector<RosTransform>& /*transforms*/) {
  RequireRosMessages();
  return {};
}

std::string DiagnosticsCdr(const RosHeader& /*header*/,
                           const std::vector<RosStatus>& /*statuses*/) {
  RequireRosMessages();
  return {};
}

std::vector<RosStatus> ParseDiagnostics(const std::string& /*cdr*/) {
  RequireRosMessages();
  return {};
}

}  // namespace orliq::cli
