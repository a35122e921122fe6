// SPDX-License-Identifier: Apache-2.0
#include "simulator/scene/Scene.h"

#include <algorithm>
#include <utility>

#include "simulator/scene/Surface.h"

namespace orliq::sim {
namespace {

using Surfaces = std::vector<std::unique_ptr<Surface>>;

constexpr double kGround = -1.8;     // [m] z of the ground: the origin is 1.8 m above it
constexpr double kWallTop = 2.2;     // [m] beams that pass above the walls come back empty
constexpr double kFrontWall = 20.0;  // [m] x of the front wall's face, the rear wall mirrors it
constexpr double kSideWall = 8.0;    // [m] y of the left wall's face, the right wall mirrors it
constexpr double kThickness = 0.2;   // [m]

class SurfaceScene final : public Scene {
 public:
  explicit SurfaceScene(Surfaces surfaces) : surfaces_(std::move(surfaces)) {}

  Hit Cast(const Vec3& origin, const Vec3& direction, double time_s) const override {
    Hit nearest;
    for (const auto& surface : surfaces_) {
      const double range = surface->Range(origin, direction, time_s);
      if (range < nearest.range_m) {
        nearest = {range, surface->Reflectivity()};
      }
    }
    return nearest;
  }

  bool Still() const override {
    return std::none_of(surfaces_.begin(), surfaces_.end(),
                        [](const auto& surface) { return surface->Moves(); });
  }

 private:
  Surfaces surfaces_;
};

template <class S, class... Args>
void Add(Surfaces& surfaces, Args&&... args) {
  surfaces.push_back(std::make_unique<S>(std::forward<Args>(args)...));
}

Surfaces EmptyRoom() {
  constexpr double kFarX = kFrontWall + kThickness;
  constexpr double kFarY = kSideWall + kThickness;
  Surfaces room;
  Add<Ground>(room, 0.2, kGround);
  Add<Box>(room, 0.5, Vec3{kFrontWall, -kFarY, kGround}, Vec3{kFarX, kFarY, kWallTop});
  Add<Box>(room, 0.5, Vec3{-kFarX, -kFarY, kGround}, Vec3{-kFrontWall, kFarY, kWallTop});
  Add<Box>(room, 0.4, Vec3{-kFarX, kSideWall, kGround}, Vec3{kFarX, kFarY, kWallTop});
  Add<Box>(room, 0.4, Vec3{-kFarX, -kFarY, kGround}, Vec3{kFarX, -kSideWall, kWallTop});
  return room;
}

Surfaces Boxes() {
  Surfaces room = EmptyRoom();
  Add<Box>(room, 0.8, Vec3{8.0, 1.0, kGround}, Vec3{9.5, 3.0, 0.0});
  Add<Box>(room, 0.6, Vec3{5.0, -4.0, kGround}, Vec3{6.0, -2.5, -0.6});
  Add<Box>(room, 0.1, Vec3{14.0, -6.0, kGround}, Vec3{15.0, -3.0, 1.0});
  Add<Pole>(room, 0.9, Vec3{7.0, -1.0, kGround}, 1.5, 0.1);
  Add<Sphere>(room, 0.7, Vec3{11.0, 0.0, -1.0}, 0.8);
  return room;
}

Surfaces MovingBox() {
  Surfaces room = EmptyRoom();
  Add<ShuttlingBox>(room, 0.8, Vec3{10.0, -4.0, -0.8}, Vec3{0.75, 0.75, 1.0}, 8.0, 1.0);
  return room;
}

using Builder = Surfaces (*)();

const std::vector<std::pair<std::string, Builder>>& Builders() {
  static const std::vector<std::pair<std::string, Builder>> builders = {
      {"empty-room", EmptyRoom}, {"boxes", Boxes}, {"moving-box", MovingBox}};
  return builders;
}

}  // namespace

std::unique_ptr<Scene> MakeScene(const std::string& name) {
  for (const auto& [known, build] : Builders()) {
    if (known == name) {
      return std::make_unique<SurfaceScene>(build());
    }
  }
  return nullptr;
}

std::vector<std::string> SceneNames() {
  std::vector<std::string> names;
  for (const auto& builder : Builders()) {
    names.push_back(builder.first);
  }
  return names;
}

}  // namespace orliq::sim
