// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "decoder/CloudAppend.h"
#include "decoder/ExtrinsicTransform.h"
#include "decoder/Interval.h"

namespace orliq::lidar {

/// The value when `keep` is 1, +0 when it is 0. On the bits: a choice would become a branch for each
/// return.
inline float KeepOrZero(float value, std::int32_t keep) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  bits &= 0U - static_cast<std::uint32_t>(keep);
  std::memcpy(&value, &bits, sizeof bits);
  return value;
}

/// Up to N returns on their way to the cloud, field by field, so that each step is a loop that the
/// compiler vectorises. A decoder fills `count`, `distance`, `inside` and the coordinates; the steps
/// follow in the order in which they stand here.
template <typename T_PointCloud, std::size_t N>
struct ReturnBatch {
  using PointType = typename T_PointCloud::PointType;

  void Transform(const ExtrinsicTransform& transform);

  /// Returns outside a limit go to the origin. How many do not.
  std::size_t Gate(Interval range);

  /// How a point is made of a return: `set_fields(point, i)` adds to its coordinates what else it
  /// carries.
  template <typename SetFields>
  auto PointOf(const SetFields& set_fields) const;

  std::size_t count = 0;
  std::int32_t inside[N];  // 1 when the angle limits hold the beam, after the gate all limits
  float distance[N];       // [m] calibrated
  float x[N];              // [m]
  float y[N];              // [m]
  float z[N];              // [m]
};

template <typename T_PointCloud, std::size_t N>
void ReturnBatch<T_PointCloud, N>::Transform(const ExtrinsicTransform& transform) {
  const ExtrinsicTransform matrix = transform;
  for (std::size_t i = 0; i < count; ++i) matrix.Apply(x[i], y[i], z[i]);
}

template <typename T_PointCloud, std::size_t N>
std::size_t ReturnBatch<T_PointCloud, N>::Gate(Interval range) {
  std::int32_t kept = 0;
  for (std::size_t i = 0; i < count; ++i) {
    inside[i] &= range.Holds(distance[i]) ? 1 : 0;
    x[i] = KeepOrZero(x[i], inside[i]);
    y[i] = KeepOrZero(y[i], inside[i]);
    z[i] = KeepOrZero(z[i], inside[i]);
    kept += inside[i];
  }
  return static_cast<std::size_t>(kept);
}

template <typename T_PointCloud, std::size_t N>
template <typename SetFields>
auto ReturnBatch<T_PointCloud, N>::PointOf(const SetFields& set_fields) const {
  return [this, set_fields](std::size_t i) {
    PointType point;
    point.x = x[i];
    point.y = y[i];
    point.z = z[i];
    set_fields(point, i);
    return point;
  };
}

}  // namespace orliq::lidar
