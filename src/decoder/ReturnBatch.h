// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder/CloudAppend.h"
#include "decoder/ExtrinsicTransform.h"
#include "decoder/Interval.h"

namespace orliq::lidar {

/// Up to N returns on their way to the cloud, field by field, so that each step is a loop that the
/// compiler vectorises. A decoder fills `count`, `distance`, `inside` and the coordinates; the steps
/// follow in the order in which they stand here, those left out that the model does not have.
template <typename T_PointCloud, std::size_t N>
struct ReturnBatch {
  using PointType = typename T_PointCloud::PointType;

  void Transform(const ExtrinsicTransform& transform);

  /// Returns outside a limit go to the origin.
  void Gate(Interval range);

  /// Makes the points; `set_fields(point, i)` adds to their coordinates what else they carry.
  template <typename SetFields>
  void MakePoints(const SetFields& set_fields);

  /// Hands the points to the cloud in order, a derived one through its own PushPoint.
  void Append(T_PointCloud& cloud) const;

  /// Likewise. After each push `pushed(i, index)` is told the place of the cloud's last point, -1
  /// when it holds none.
  template <typename Pushed>
  void Append(T_PointCloud& cloud, const Pushed& pushed) const;

  std::size_t count = 0;
  std::int32_t inside[N];  // 1 when the angle limits hold the beam
  float distance[N];       // [m] calibrated
  float x[N];              // [m]
  float y[N];              // [m]
  float z[N];              // [m]
  PointType points[N];     // fields that the decoder does not write stay 0
};

template <typename T_PointCloud, std::size_t N>
void ReturnBatch<T_PointCloud, N>::Transform(const ExtrinsicTransform& transform) {
  const ExtrinsicTransform matrix = transform;
  for (std::size_t i = 0; i < count; ++i) matrix.Apply(x[i], y[i], z[i]);
}

template <typename T_PointCloud, std::size_t N>
void ReturnBatch<T_PointCloud, N>::Gate(Interval range) {
  for (std::size_t i = 0; i < count; ++i) {
    const int in_range = range.Holds(distance[i]) ? 1 : 0;
    const bool keep = (inside[i] & in_range) != 0;
    x[i] = keep ? x[i] : 0.0F;
    y[i] = keep ? y[i] : 0.0F;
    z[i] = keep ? z[i] : 0.0F;
  }
}

template <typename T_PointCloud, std::size_t N>
template <typename SetFields>
void ReturnBatch<T_PointCloud, N>::MakePoints(const SetFields& set_fields) {
  for (std::size_t i = 0; i < count; ++i) {
    PointType& point = points[i];
    point.x = x[i];
    point.y = y[i];
    point.z = z[i];
    set_fields(point, i);
  }
}

template <typename T_PointCloud, std::size_t N>
template <typename Pushed>
void ReturnBatch<T_PointCloud, N>::Append(T_PointCloud& cloud, const Pushed& pushed) const {
  if (IsPlainCloud(cloud)) {
    const int first = static_cast<int>(cloud.points.size());
    AppendToPlainCloud(cloud, points, count);
    for (std::size_t i = 0; i < count; ++i) pushed(i, first + static_cast<int>(i));
    return;
  }
  for (std::size_t i = 0; i < count; ++i) {
    cloud.PushPoint(points[i]);
    pushed(i, static_cast<int>(cloud.points.size()) - 1);
  }
}

template <typename T_PointCloud, std::size_t N>
void ReturnBatch<T_PointCloud, N>::Append(T_PointCloud& cloud) const {
  AppendPoints(cloud, points, count);
}

}  // namespace orliq::lidar
