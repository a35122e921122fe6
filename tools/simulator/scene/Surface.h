// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simulator/scene/Vec3.h"

namespace orliq::sim {

/// The skin of something that a beam can hit, from outside and from inside. Lengths in metres,
/// directions of unit length.
class Surface {
 public:
  /// `reflectivity` is the share of light sent back, 0 to 1.
  explicit Surface(double reflectivity) : reflectivity_(reflectivity) {}
  virtual ~Surface() = default;
  Surface(const Surface&) = delete;
  Surface& operator=(const Surface&) = delete;

  /// Range [m] > 0 at which a beam from `origin` first crosses the skin `time_s` seconds after the
  /// scene started; infinity when it never does. What stands on the skin does not cross it there.
  virtual double Range(const Vec3& origin, const Vec3& direction, double time_s) const = 0;

  virtual bool Moves() const { return false; }

  double Reflectivity() const { return reflectivity_; }

 private:
  double reflectivity_;
};

/// Endless level ground.
class Ground final : public Surface {
 public:
  Ground(double reflectivity, double height_m) : Surface(reflectivity), height_m_(height_m) {}
  double Range(const Vec3& origin, const Vec3& direction, double time_s) const override;

 private:
  double height_m_;  // z of the ground
};

/// Box with sides along the axes.
class Box final : public Surface {
 public:
  Box(double reflectivity, const Vec3& low, const Vec3& high)
      : Surface(reflectivity), low_(low), high_(high) {}
  double Range(const Vec3& origin, const Vec3& direction, double time_s) const override;

 private:
  Vec3 low_;   // corner with the smallest coordinates
  Vec3 high_;  // corner with the largest coordinates
};

/// Box that shuttles along y at an even speed: it sets out towards +y and turns back each time
/// it has covered `travel_m`.
class ShuttlingBox final : public Surface {
 public:
  ShuttlingBox(double reflectivity, const Vec3& centre_at_start, const Vec3& half_size,
               double travel_m, double speed_mps)
      : Surface(reflectivity),
        centre_(centre_at_start),
        half_size_(half_size),
        travel_m_(travel_m),
        speed_mps_(speed_mps) {}
  bool Moves() const override { return true; }
  double Range(const Vec3& origin, const Vec3& direction, double time_s) const override;

 private:
  Vec3 centre_;
  Vec3 half_size_;
  double travel_m_;
  double speed_mps_;
};

class Sphere final : public Surface {
 public:
  Sphere(double reflectivity, const Vec3& centre, double radius_m)
      : Surface(reflectivity), centre_(centre), radius_m_(radius_m) {}
  double Range(const Vec3& origin, const Vec3& direction, double time_s) const override;

 private:
  Vec3 centre_;
  double radius_m_;
};

/// Upright round pole.
class Pole final : public Surface {
 public:
  /// Axis through (`foot.x`, `foot.y`), from `foot.z` up to `top_m`.
  Pole(double reflectivity, const Vec3& foot, double top_m, double radius_m)
      : Surface(reflectivity), foot_(foot), top_m_(top_m), radius_m_(radius_m) {}
  double Range(const Vec3& origin, const Vec3& direction, double time_s) const override;

 private:
  Vec3 foot_;
  double top_m_;
  double radius_m_;
};

}  // namespace orliq::sim
