// SPDX-License-Identifier: Apache-2.0
#include "simulator/scene/SceneView.h"

#include <atomic>
#include <cmath>

namespace orliq::sim {
namespace {

struct Angle {
  explicit Angle(double degrees)
      : sin(std::sin(degrees * kRadian)), cos(std::cos(degrees * kRadian)) {}
  double sin, cos;
};

}  // namespace

SceneView::SceneView(const Scene& scene, const Pose& pose)
    : scene_(&scene),
      place_(pose.place),
      turned_(pose.roll_deg != 0.0 || pose.pitch_deg != 0.0 || pose.yaw_deg != 0.0) {
  static std::atomic<std::uint64_t> views{0};
  if (scene.Still()) still_number_ = ++views;
  const Angle r(pose.roll_deg);
  const Angle p(pose.pitch_deg);
  const Angle y(pose.yaw_deg);
  rows_[0] = {y.cos * p.cos, y.cos * p.sin * r.sin - y.sin * r.cos,
              y.cos * p.sin * r.cos + y.sin * r.sin};
  rows_[1] = {y.sin * p.cos, y.sin * p.sin * r.sin + y.cos * r.cos,
              y.sin * p.sin * r.cos - y.cos * r.sin};
  rows_[2] = {-p.sin, p.cos * r.sin, p.cos * r.cos};
}

}  // namespace orliq::sim
