// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <cstddef>
#include <cstdint>

#include "decoder/BeamTable.h"
#include "decoder/CloudAppend.h"
#include "decoder/ExtrinsicTransform.h"
#include "decoder/Interval.h"

namespace orliq::lidar {

/// Up to N returns on their way to the cloud, field by field, so that each step is a loop that the
/// compiler vectorises. A decoder fills `count`, `direction`, `inside`, `is_null` and `distance`;
/// the steps follow in the order in which they stand here.
template <typename T_PointCloud, std::size_t N>
struct ReturnBatch {
  using PointType = typename T_PointCloud::PointType;

  /// Range and beam direction to coordinates. x is never negative.
  void Locate();

  void Transform(const ExtrinsicTransform& transform);

  /// Null points and returns outside a limit go to the origin.
  void Gate(Interval range);

  /// Makes the points; `set_fields(point, i)` adds to their coordinates what else they carry.
  template <typename SetFields>
  void MakePoints(const SetFields& set_fields);

  /// Hands the points to the cloud in order, a derived one through its own PushPoint. After each
  /// push `pushed(i, index)` is told the place of the cloud's last point, -1 when it holds none.
  template <typename Pushed>
  void Append(T_PointCloud& cloud, const Pushed& pushed) const;

  std::size_t count = 0;
  BeamDirection direction[N];
  std::int32_t inside[N];   // 1 when the angle limits hold the beam
  std::int32_t is_null[N];  // 1 when nothing was measured
  float distance[N];        // [m] calibrated, 0 for a null point
  float x[N];               // [m]
  float y[N];               // [m]
  float z[N];               // [m]
  PointType points[N];      // fields that the decoder does not write stay 0
};

template <typename T_PointCloud, std::size_t N>
void ReturnBatch<T_PointCloud, N>::Locate() {
  for (std::size_t i = 0; i < count; ++i) {
    const BeamDirection& beam = direction[i];
    const float horizontal = distance[i] * beam.cos_elevation;
    x[i] = std::fabs(horizontal * beam.cos_azimuth);
    y[i] = std::fabs(horizontal) * beam.sin_azimuth;
    z[i] = distance[i] * beam.sin_elevation;
  }
}

template <typename T_PointCloud, std::size_t N>
void ReturnBatch<T_PointCloud, N>::Transform(const ExtrinsicTransform& transform) {
  const ExtrinsicTransform matrix = transform;
  for (std::size_t i = 0; i < count; ++i) matrix.Apply(x[i], y[i], z[i]);
}

template <typename T_PointCloud, std::size_t N>
void ReturnBatch<T_PointCloud, N>::Gate(Interval range) {
  for (std::size_t i = 0; i < count; ++i) {
    const int in_range = range.Holds(distance[i]) ? 1 : 0;
    const bool keep = (inside[i] & in_range & (is_null[i] ^ 1)) != 0;
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

}  // namespace orliq::lidar
