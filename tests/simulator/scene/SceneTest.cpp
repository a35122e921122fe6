// SPDX-License-Identifier: Apache-2.0
#include "simulator/scene/SceneView.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

#include "simulator/scene/Surface.h"

namespace orliq::sim {
namespace {

constexpr double kNone = std::numeric_limits<double>::infinity();

Vec3 Unit(const Vec3& v) {
  const double length = std::hypot(v.x, v.y, v.z);
  return {v.x / length, v.y / length, v.z / length};
}

bool Same(double a, double b) {
  return a == b || std::abs(a - b) < 1e-9;
}

TEST(Scene, BeamsMeetWhatStandsThere) {
  const struct {
    const char* scene;
    Vec3 towards;
    double time_s;
    double range_m;
    const char* why;
  } cases[] = {
      {"empty-room", {1, 0, -1}, 0, 1.8 * std::sqrt(2.0), "ground, 1.8 m below, at 45 degrees"},
      {"empty-room", {20, 0, 2.1}, 0, std::hypot(20.0, 2.1), "front wall just below its top"},
      {"empty-room", {20, 0, 2.3}, 0, kNone, "over the wall"},
      {"boxes", {8, 2, -0.9}, 0, std::hypot(8.0, 2.0, 0.9), "face of the nearest box"},
      {"boxes", {11, 0, -1}, 0, std::sqrt(122.0) - 0.8, "sphere, through its centre"},
      {"boxes", {7, -1, -0.9}, 0, (1 - 0.1 / std::sqrt(50.0)) * std::sqrt(50.81), "pole, slanting"},
      {"boxes", {-11, 0, 1}, 0, std::sqrt(122.0) * 20 / 11, "rear wall: the sphere is ahead"},
      {"moving-box", {9.25, -4, 0}, 0, std::hypot(9.25, 4.0), "there it is, its face at 9.25 m"},
      {"moving-box", {1, 0, 0}, 12, 9.25, "and comes by again"},
      {"moving-box", {9.25, -3, 0}, 17, std::hypot(9.25, 3.0), "second round"},
  };
  for (const auto& c : cases) {
    const Hit hit = MakeScene(c.scene)->Cast({}, Unit(c.towards), c.time_s);
    EXPECT_TRUE(Same(hit.range_m, c.range_m)) << c.scene << ": " << c.why << " " << hit.range_m;
    EXPECT_EQ(hit.reflectivity > 0.0, c.range_m != kNone) << c.scene << ": " << c.why;
  }
}

TEST(Surface, IsSeenFromEverywhereAndFromInside) {
  const Ground ground(0.2, -1.8);
  const Box box(0.2, {1, 2, 3}, {4, 6, 8});
  const Sphere sphere(0.2, {1, 0, 0}, 2);
  const Pole pole(0.2, {3, 0, -1}, 1, 0.5);
  const ShuttlingBox shuttle(0.2, {9, 0, 0}, {1, 1, 1}, 4, 1);
  const struct {
    const Surface& surface;
    Vec3 origin;
    Vec3 towards;
    double time_s;
    double range_m;
    const char* why;
  } cases[] = {
      {ground, {5, 5, 3}, {1, 0, -1}, 0, 4.8 * std::sqrt(2.0), "ground from higher up"},
      {ground, {5, 5, -4}, {0, 0, 1}, 0, 2.2, "ground from below"},
      {ground, {5, 5, -4}, {0, 0, -1}, 0, kNone, "below it and looking down"},
      {ground, {0, 0, -1.8}, {1, 0, -1}, 0, kNone, "ground under the sensor itself"},
      {box, {0, 3, 4}, {1, 0, 0}, 0, 1, "box ahead"},
      {box, {2, 3, 4}, {1, 0, 0}, 0, 2, "box around the sensor"},
      {box, {2, 3, 4}, {0, -1, -2}, 0, std::hypot(0.5, 1), "its bottom from inside"},
      {box, {5, 3, 4}, {1, 0, 0}, 0, kNone, "box behind"},
      {box, {4, 3, 4}, {1, 0, 0}, 0, kNone, "sensor mounted on the box, looking away"},
      {sphere, {5, 0, 0}, {-1, 0, 0}, 0, 2, "sphere ahead"},
      {sphere, {2, 0, 0}, {-1, 0, 0}, 0, 3, "sphere around the sensor"},
      {sphere, {5, 0, 0}, {1, 0, 0}, 0, kNone, "sphere behind"},
      {pole, {0, 0.3, 0}, {1, 0, 0}, 0, 2.6, "pole, off its axis"},
      {pole, {3.1, 0, 4}, {0, 0, -1}, 0, 3, "end of the pole from above"},
      {pole, {0.8, 0, 3}, {1, 0, -1}, 0, 2 * std::sqrt(2.0), "its end, slanting in"},
      {pole, {3, 0, 0}, {1, 0, 0}, 0, 0.5, "pole around the sensor"},
      {pole, {3, 0, 0}, {0, 0, 1}, 0, 1, "its end from inside"},
      {pole, {0, 0, 2}, {1, 0, 0}, 0, kNone, "over the pole"},
      {shuttle, {9, 6, 0}, {0, -1, 0}, 2, 3, "box on its way towards the sensor"},
      {shuttle, {9, 2.5, 0}, {0, -1, 0}, 2, 1.5, "as it drives over the sensor"},
  };
  for (const auto& c : cases) {
    const double range = c.surface.Range(c.origin, Unit(c.towards), c.time_s);
    EXPECT_TRUE(Same(range, c.range_m)) << c.why << ", not " << range;
  }
}

// The sensors stand 2 m ahead, 3 m to the left and 0.5 m above the scene's origin.
TEST(SceneView, ShowsTheSceneAsASensorAtItsPoseSeesIt) {
  constexpr double kGround = 2.3, kLeft = 5, kRight = 11, kFront = 18, kRear = 22;  // [m]
  const auto scene = MakeScene("empty-room");
  const struct {
    double roll, pitch, yaw;  // [deg]
    double x, y, z;           // [m] to what the sensor's axes point at
  } cases[] = {
      {0, 0, 0, kFront, kLeft, kNone},
      {0, 0, 90, kLeft, kRear, kNone},
      {0, 0, -90, kRight, kFront, kNone},
      {0, 90, 0, kGround, kLeft, kFront},
      {90, 0, 0, kFront, kNone, kRight},
      {90, 90, 90, kGround, kLeft, kFront},  // rolled first, yawed last
      {0, 30, 0, 2 * kGround, kLeft, kNone},
      {0, 0, 60, kLeft / std::sqrt(0.75), 2 * kLeft, kNone},
  };
  for (const auto& c : cases) {
    const SceneView view(*scene, {{2, 3, 0.5}, c.roll, c.pitch, c.yaw});
    const std::pair<Vec3, double> axes[] = {{{1, 0, 0}, c.x}, {{0, 1, 0}, c.y}, {{0, 0, 1}, c.z}};
    for (const auto& [axis, range_m] : axes) {
      const double range = view.Cast(axis, 0).range_m;
      EXPECT_TRUE(Same(range, range_m))
          << c.roll << ' ' << c.pitch << ' ' << c.yaw << " sees " << range << ", not " << range_m;
    }
  }
}

}  // namespace
}  // namespace orliq::sim
