// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "multi_driver/PointTypes.h"

namespace orliq::lidar {

template <typename P>
void NameSensor(P* /*points*/, std::size_t /*count*/, std::size_t /*sensor*/) {}

/// A point that has room for it tells which sensor has measured it.
inline void NameSensor(PointSource* points, std::size_t count, std::size_t sensor) {
  for (std::size_t i = 0; i < count; ++i) {
    points[i].source[0] = static_cast<std::uint8_t>(sensor);
  }
}

/// Appends the points of a sensor's frame to a fused cloud, as they are but for the sensor's index,
/// counted from 0. `T` is a cloud.
template <typename T>
void AppendFrame(T& fused, const T& frame, std::size_t sensor) {
  auto& points = fused.points;
  const std::size_t count = frame.points.size();
  points.insert(points.end(), frame.points.begin(), frame.points.end());
  NameSensor(points.data() + points.size() - count, count, sensor);
}

}  // namespace orliq::lidar
