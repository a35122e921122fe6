// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orliq::sim {

/// Vector of the point frame: x forward, y left, z up, the sensor at the origin.
struct Vec3 {
  double x = 0.0;
  double y = 0.0;
  double z = 0.0;
};

}  // namespace orliq::sim
