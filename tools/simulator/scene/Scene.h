// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <limits>
#include <memory>
#include <string>
#include <vector>

#include "simulator/scene/Vec3.h"

namespace orliq::sim {

/// What a beam meets first.
struct Hit {
  double range_m = std::numeric_limits<double>::infinity();  ///< infinity when nothing is hit
  double reflectivity = 0.0;                                 ///< share of light sent back, 0 to 1
};

/// Surroundings of sensors. Its origin is 1.8 m above the ground, where a vehicle carries a sensor.
/// Constant after construction: any thread may cast.
class Scene {
 public:
  Scene() = default;
  virtual ~Scene() = default;
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;

  /// The first surface that a beam from `origin` along `direction` (of unit length) meets, `time_s`
  /// seconds after the scene started.
  virtual Hit Cast(const Vec3& origin, const Vec3& direction, double time_s) const = 0;

  /// Whether nothing in it moves, so that a beam always meets the same.
  virtual bool Still() const = 0;
};

/// The scene of that name; null for an unknown name.
std::unique_ptr<Scene> MakeScene(const std::string& name);

/// The names that MakeScene knows: "empty-room", "boxes", "moving-box".
std::vector<std::string> SceneNames();

}  // namespace orliq::sim
