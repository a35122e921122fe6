// SPDX-License-Identifier: Apache-2.0
#include "simulator/scene/Surface.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orliq::sim {
namespace {

constexpr double kNoHit = std::numeric_limits<double>::infinity();

/// Ranges from 0 on at which a beam is inside a body.
struct Interval {
  double enter = 0.0;
  double leave = kNoHit;

  bool Empty() const { return enter > leave; }
};
constexpr Interval kNever = {kNoHit, 0.0};

/// The part of it in which the beam is also between two parallel planes, whose coordinates `low` and
/// `high` count from the beam's origin.
Interval Narrow(const Interval& so_far, double direction, double low, double high) {
  if (direction == 0.0) {
    const bool between = low <= 0.0 && 0.0 <= high;
    return between ? so_far : kNever;
  }
  // Most planes are behind the beam: divisions, which take longest, are left to the others.
  const bool up = direction > 0.0;
  const double near = up ? low : high;
  const double far = up ? high : low;
  if (up ? far < 0.0 : far > 0.0) return kNever;
  const bool ahead = up ? near > 0.0 : near < 0.0;
  return {ahead ? std::max(so_far.enter, near / direction) : so_far.enter,
          std::min(so_far.leave, far / direction)};
}

/// Where a t^2 - 2 b t + c <= 0: inside a round body. Along the axis of a pole a is 0, and b too.
Interval InsideRound(double a, double b, double c) {
  const double discriminant = b * b - a * c;
  if (a <= 0.0) return c <= 0.0 ? Interval{} : kNever;
  if (discriminant < 0.0) return kNever;
  const double root = std::sqrt(discriminant);
  return {std::max(0.0, (b - root) / a), (b + root) / a};
}

double FirstCrossing(const Interval& inside) {
  if (inside.Empty()) return kNoHit;
  if (inside.enter > 0.0) return inside.enter;
  return inside.leave > 0.0 ? inside.leave : kNoHit;
}

/// Corners as seen from the beam's origin.
double BoxRange(const Vec3& direction, const Vec3& low, const Vec3& high) {
  Interval inside = Narrow({}, direction.x, low.x, high.x);
  if (inside.Empty()) return kNoHit;
  inside = Narrow(inside, direction.y, low.y, high.y);
  if (inside.Empty()) return kNoHit;
  return FirstCrossing(Narrow(inside, direction.z, low.z, high.z));
}

}  // namespace

double Ground::Range(const Vec3& origin, const Vec3& direction, double /*time_s*/) const {
  if (direction.z == 0.0) return kNoHit;
  const double range = (height_m_ - origin.z) / direction.z;
  return range > 0.0 ? range : kNoHit;
}

double Box::Range(const Vec3& origin, const Vec3& direction, double /*time_s*/) const {
  return BoxRange(direction, low_ - origin, high_ - origin);
}

double ShuttlingBox::Range(const Vec3& origin, const Vec3& direction, double time_s) const {
  const double path = std::fmod(time_s * speed_mps_, 2.0 * travel_m_);
  const double y = centre_.y + (path < travel_m_ ? path : 2.0 * travel_m_ - path);
  const Vec3 low = {centre_.x - half_size_.x, y - half_size_.y, centre_.z - half_size_.z};
  const Vec3 high = {centre_.x + half_size_.x, y + half_size_.y, centre_.z + half_size_.z};
  return BoxRange(direction, low - origin, high - origin);
}

double Sphere::Range(const Vec3& origin, const Vec3& direction, double /*time_s*/) const {
  const Vec3 centre = centre_ - origin;
  return FirstCrossing(
      InsideRound(1.0, Dot(direction, centre), Dot(centre, centre) - radius_m_ * radius_m_));
}

double Pole::Range(const Vec3& origin, const Vec3& direction, double /*time_s*/) const {
  const Vec3 foot = foot_ - origin;
  const Interval tube = InsideRound(direction.x * direction.x + direction.y * direction.y,
                                    direction.x * foot.x + direction.y * foot.y,
                                    foot.x * foot.x + foot.y * foot.y - radius_m_ * radius_m_);
  return FirstCrossing(Narrow(tube, direction.z, foot.z, top_m_ - origin.z));
}

}  // namespace orliq::sim
