// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <typeinfo>

namespace orliq::lidar {

/// True when nobody derived from the cloud, so that its points may be appended without asking it.
template <typename Cloud>
bool IsPlainCloud(const Cloud& cloud) {
  return typeid(cloud) == typeid(Cloud);
}

/// Appends points to a plain cloud as that many calls of PushPoint would, growth included.
template <typename Cloud>
void AppendToPlainCloud(Cloud& cloud, const typename Cloud::PointType* points, std::size_t count) {
  auto& list = cloud.points;
  if (list.capacity() - list.size() >= count) {
    list.insert(list.end(), points, points + count);
  } else {
    for (std::size_t i = 0; i < count; ++i) list.push_back(points[i]);
  }
}

/// Appends points to any cloud, to a derived one through its own PushPoint.
template <typename Cloud>
void AppendPoints(Cloud& cloud, const typename Cloud::PointType* points, std::size_t count) {
  if (IsPlainCloud(cloud)) return AppendToPlainCloud(cloud, points, count);
  for (std::size_t i = 0; i < count; ++i) cloud.PushPoint(points[i]);
}

}  // namespace orliq::lidar
