// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "simulator/scene/Scene.h"
#include "simulator/scene/Vec3.h"

namespace orliq::sim {

/// Where a sensor is in a scene: turned about its own x axis by `roll_deg`, then about the scene's y by
/// `pitch_deg` and z by `yaw_deg`, then moved to `place`. These are the extrinsics of the sensor whose
/// driver is to give its points in the scene's frame.
struct Pose {
  Vec3 place;  ///< [m]
  double roll_deg = 0.0;
  double pitch_deg = 0.0;
  double yaw_deg = 0.0;
};

/// A scene as the sensor at a pose sees it, in the sensor's own frame. A small object; the scene stays
/// the caller's and must outlive it. Any thread may cast.
class SceneView {
 public:
  /// From the scene's origin, looking along x. What wants a view takes a scene for it.
  SceneView(const Scene& scene)
      : SceneView(scene, Pose()) {}  // NOLINT(google-explicit-constructor)

  SceneView(const Scene& scene, const Pose& pose);

  /// The first surface along `direction` (of unit length) `time_s` seconds after the scene started.
  Hit Cast(const Vec3& direction, double time_s) const {
    return scene_->Cast(place_, turned_ ? Turn(direction) : direction, time_s);
  }

  /// Of a scene that stands still, a number that this view and its copies have and no other view ever
  /// had: what a beam meets may be remembered by it. 0 when something moves.
  std::uint64_t StillNumber() const { return still_number_; }

 private:
  Vec3 Turn(const Vec3& v) const { return {Dot(rows_[0], v), Dot(rows_[1], v), Dot(rows_[2], v)}; }

  const Scene* scene_;
  Vec3 place_;
  std::uint64_t still_number_ = 0;
  bool turned_ = false;  // else every bit of a direction stays as it is
  Vec3 rows_[3];         // of the rotation from the sensor's frame to the scene's
};

}  // namespace orliq::sim
