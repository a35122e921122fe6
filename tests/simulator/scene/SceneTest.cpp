// SPDX-License-Identifier: Apache-2.0
#include "simulator/scene/Scene.h"

#include <gtest/gtest.h>

#include <cmath>
#include <limits>

namespace orliq::sim {
namespace {

constexpr double kNone = std::numeric_limits<double>::infinity();

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
    const double length = std::hypot(c.towards.x, c.towards.y, c.towards.z);
    const Vec3 direction{c.towards.x / length, c.towards.y / length, c.towards.z / length};
    const Hit hit = MakeScene(c.scene)->Cast(direction, c.time_s);
    const bool same = hit.range_m == c.range_m || std::abs(hit.range_m - c.range_m) < 1e-9;
    EXPECT_TRUE(same) << c.scene << ": " << c.why << ", not " << hit.range_m;
    EXPECT_EQ(hit.reflectivity > 0.0, c.range_m != kNone) << c.scene << ": " << c.why;
  }
}

}  // namespace
}  // namespace orliq::sim
