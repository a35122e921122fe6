// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "multi_driver/PointCloud.h"

namespace orliq::cli {

/// Stands for a cloud type where a value is needed.
template <typename T>
struct CloudType {
  using Cloud = T;
};

/// Calls `visit(CloudType<Cloud>())` with the cloud of the point type that --point names.
template <typename Visitor>
auto WithCloudType(const std::string& point, const Visitor& visit) {
  if (point == "point-time") return visit(CloudType<PointCloud<PointTime>>());
  if (point == "point-source") return visit(CloudType<PointCloud<PointSource>>());
  if (point == "juniq") return visit(CloudType<PointCloud<JuniqPoint>>());
  return visit(CloudType<PointCloud<Point>>());
}

}  // namespace orliq::cli
