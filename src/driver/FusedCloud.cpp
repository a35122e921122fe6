// SPDX-License-Identifier: Apache-2.0
#include "driver/FusedCloud.h"

#include <cstdint>

#include "multi_driver/PointCloud.h"

namespace orliq::lidar {
namespace {

template <typename P>
void NameSensor(P* /*points*/, std::size_t /*count*/, std::size_t /*sensor*/) {}

void NameSensor(PointSource* points, std::size_t count, std::size_t sensor) {
  for (std::size_t i = 0; i < count; ++i) {
    points[i].source[0] = static_cast<std::uint8_t>(sensor);
  }
}

}  // namespace

template <typename T>
void AppendFrame(T& fused, const T& frame, std::size_t sensor) {
  auto& points = fused.points;
  const std::size_t count = frame.points.size();
  points.insert(points.end(), frame.points.begin(), frame.points.end());
  NameSensor(points.data() + points.size() - count, count, sensor);
}

#define ORLIQ_INSTANTIATE(CLOUD) template void AppendFrame(CLOUD&, const CLOUD&, std::size_t);
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::lidar
