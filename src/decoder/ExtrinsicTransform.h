// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>

#include "multi_driver/DriverParam.h"

namespace orliq::lidar {

/// The rigid transform from the sensor frame to the vehicle frame, immutable once built, so every
/// thread may apply it.
class ExtrinsicTransform {
 public:
  /// Translation(x, y, z) * Rz(yaw) * Ry(pitch) * Rx(roll), in double precision; angles in degrees.
  explicit ExtrinsicTransform(const TransformParam& param);

  /// Replaces the point [m] by its transformed self; the products are summed from left to right.
  void Apply(float& x, float& y, float& z) const {
    const double px = x;
    const double py = y;
    const double pz = z;
    x = static_cast<float>(m_[0] * px + m_[1] * py + m_[2] * pz + m_[3]);
    y = static_cast<float>(m_[4] * px + m_[5] * py + m_[6] * pz + m_[7]);
    z = static_cast<float>(m_[8] * px + m_[9] * py + m_[10] * pz + m_[11]);
  }

 private:
  std::array<double, 16> m_;  // 4x4 homogeneous matrix, row by row
};

}  // namespace orliq::lidar
