// SPDX-License-Identifier: Apache-2.0
#include "simulator/scene/Surface.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orliq::sim {
namespace {

constexpr double kNoHit = std::numeric_limits<double>::infinity();

/// Ranges at which a beam is between two parallel planes.
struct Interval {
  double enter = 0.0;
  double leave = kNoHit;
};

Interval Narrow(const Interval& so_far, double direction, double low, double high) {
  if (direction == 0.0) {
    const bool between = low <= 0.0 && 0.0 <= high;
    return between ? so_far : Interval{kNoHit, 0.0};
  }
  const double a = low / direction;
  const double b = high / direction;
  return {std::max(so_far.enter, std::min(a, b)), std::min(so_far.leave, std::max(a, b))};
}

double BoxRange(const Vec3& direction, const Vec3& low, const Vec3& high) {
  Interval inside = Narrow({}, direction.x, low.x, high.x);
  inside = Narrow(inside, direction.y, low.y, high.y);
  inside = Narrow(inside, direction.z, low.z, high.z);
  return inside.enter <= inside.leave ? inside.enter : kNoHit;
}

/// Smaller root of a t^2 - 2 b t + c = 0, the near side of a round body; no hit behind the origin.
double NearRoot(double a, double b, double c) {
  const double discriminant = b * b - a * c;
  if (a <= 0.0 || b <= 0.0 || discriminant < 0.0) {
    return kNoHit;
  }
  return (b - std::sqrt(discriminant)) / a;
}

}  // namespace

double Ground::Range(const Vec3& direction, double /*time_s*/) const {
  return direction.z < 0.0 ? height_m_ / direction.z : kNoHit;
}

double Box::Range(const Vec3& direction, double /*time_s*/) const {
  return BoxRange(direction, low_, high_);
}

double ShuttlingBox::Range(const Vec3& direction, double time_s) const {
  const double path = std::fmod(time_s * speed_mps_, 2.0 * travel_m_);
  const double y = centre_.y + (path < travel_m_ ? path : 2.0 * travel_m_ - path);
  return BoxRange(direction, {centre_.x - half_size_.x, y - half_size_.y, centre_.z - half_size_.z},
                  {centre_.x + half_size_.x, y + half_size_.y, centre_.z + half_size_.z});
}

double Sphere::Range(const Vec3& direction, double /*time_s*/) const {
  const double along = direction.x * centre_.x + direction.y * centre_.y + direction.z * centre_.z;
  const double centre_squared =
      centre_.x * centre_.x + centre_.y * centre_.y + centre_.z * centre_.z;
  return NearRoot(1.0, along, centre_squared - radius_m_ * radius_m_);
}

double Pole::Range(const Vec3& direction, double /*time_s*/) const {
  const double range = NearRoot(direction.x * direction.x + direction.y * direction.y,
                                direction.x * foot_.x + direction.y * foot_.y,
                                foot_.x * foot_.x + foot_.y * foot_.y - radius_m_ * radius_m_);
  const double z = range * direction.z;
  return range < kNoHit && foot_.z <= z && z <= top_m_ ? range : kNoHit;
}

}  // namespace orliq::sim
