// SPDX-License-Identifier: Apache-2.0
#include "filter/CloudFilter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>
#include <set>

namespace orliq::lidar {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using Cloud = PointCloud<PointSource>;
using Filter = CloudFilter<Cloud>;

struct Registration {
  int row;
  int col;
  float value;
  bool keep = false;
  int index = 0;
};
using Frame = std::vector<Registration>;

/// A cloud of `count` points, each marked with its place.
std::shared_ptr<Cloud> Numbered(std::size_t count) {
  auto cloud = std::make_shared<Cloud>();
  cloud->points.resize(count);
  for (std::size_t i = 0; i < count; ++i) cloud->points[i].x = static_cast<float>(i);
  return cloud;
}

void Register(Filter& filter, const Frame& frame) {
  for (const auto& p : frame) filter.UpdateHashMap(p.row, p.col, p.index, p.value, p.keep);
}

std::vector<int> Places(const Cloud& cloud) {
  std::vector<int> places;
  for (const auto& point : cloud.points) places.push_back(static_cast<int>(point.x));
  return places;
}

/// The places of the points that are left.
std::vector<int> Filtered(Filter& filter, const Frame& frame) {
  auto cloud = Numbered(frame.size());
  Register(filter, frame);
  filter.RadiusFilter(cloud);
  return Places(*cloud);
}

/// The rule in its plainest form: every point compared with every other.
std::vector<int> Expected(const Frame& frame, float radius, std::uint32_t min_neighbours) {
  const int count = static_cast<int>(frame.size());
  const auto in_grid = [](const Registration& p) {
    return !p.keep && std::min(p.row, p.col) >= 0 && std::max(p.row, p.col) <= 255;
  };
  std::set<int> left;
  for (int i = 0; i < count; ++i) {
    const Registration& e = frame[static_cast<std::size_t>(i)];
    if (e.keep) left.insert(i);
    if (!in_grid(e) || e.index < 0 || e.index >= count) continue;
    const auto supports = [&](const Registration& n) {
      return std::max(std::abs(n.row - e.row), std::abs(n.col - e.col)) == 1 && in_grid(n) &&
             std::fabs(e.value - n.value) <= radius;
    };
    const auto supporters = std::count_if(frame.begin(), frame.end(), supports);
    if (supporters >= std::int64_t{min_neighbours}) left.insert(e.index);
  }
  return {left.begin(), left.end()};
}

/// Points in a corner region of the grid and just outside it, some with odd values and indices.
Frame RandomFrame(std::mt19937& random, int span, std::size_t count, bool odd) {
  const auto pick = [&](int from, int to) {
    return from + static_cast<int>(random() % static_cast<unsigned>(to - from + 1));
  };
  const int corner = pick(0, 1) * (255 - span + 1);  // at either end of the grid, and beyond it
  Frame frame;
  for (std::size_t i = 0; i < count; ++i) {
    Registration p{corner + pick(-1, span), corner + pick(-1, span),
                   0.25F * static_cast<float>(pick(0, 20)), pick(0, 9) == 0, static_cast<int>(i)};
    if (odd && pick(0, 3) == 0) {
      const float values[] = {kNan, kInf, -kInf, -0.0F, 3e38F, -3e38F};
      p.value = values[pick(0, 5)];
      p.index = pick(0, 1) == 0 ? -1 : pick(-3, static_cast<int>(count) + 3);
    }
    frame.push_back(p);
  }
  return frame;
}

// In a sparse frame nothing but the point in question makes its cell, its row and the next looked at,
// and what was left of the frame before would show.
TEST(CloudFilter, RandomFramesComeOutAsByThePlainRule) {
  std::mt19937 random(1);
  const struct {
    int span;
    std::size_t count;  // on about span * span cells
    int frames;         // for each setting
  } densities[] = {{28, 800, 3}, {14, 800, 3}, {3, 400, 3}, {2, 3, 30}, {3, 5, 30}};
  for (const auto& [span, count, frames] : densities) {
    for (const float radius : {0.5F, 0.0F, 0.3F, -1.0F, kInf, kNan}) {
      for (const std::uint32_t min_neighbours : {0U, 1U, 2U, 3U, 9U, 60U, 105U, ~0U}) {
        Filter filter(true, radius, min_neighbours);
        for (int i = 0; i < frames; ++i) {  // by the same filter
          const Frame frame = RandomFrame(random, span, count, i % 2 == 1);
          ASSERT_EQ(Filtered(filter, frame), Expected(frame, radius, min_neighbours))
              << span << " " << radius << " " << min_neighbours << " " << i;
        }
      }
    }
  }
}

TEST(CloudFilter, ARowThatIsErasedNeverWasThere) {
  std::mt19937 random(2);
  Filter::Impl states[] = {{true, 0.5F, 0}, {true, 0.5F, 2}};
  for (int i = 0; i < 80; ++i) {
    Filter::Impl& state = states[i % 2];
    Frame frame = RandomFrame(random, 7, 300, false);
    for (const auto& p : frame) state.UpdateHashMap(p.row, p.col, p.index, p.value, p.keep);
    const int erased = frame[0].row;
    state.ProcessRow(erased + 3);  // whose points and their neighbours are farther away
    for (const int row : {erased, -1, 256}) state.EraseRow(row);
    for (auto& p : frame) {
      if (p.row == erased) p.row = -1;
    }
    const auto cloud = Numbered(frame.size());
    state.RadiusFilter(*cloud);
    ASSERT_EQ(Places(*cloud), Expected(frame, 0.5F, state.min_neighbours)) << i;
  }
}

constexpr const char* kMismatch = "Error: mask size mismatch\n";

using Output = std::pair<std::string, std::string>;  // to standard output, to standard error

Output OutputOf(Filter& filter, std::shared_ptr<Cloud> cloud) {
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  filter.RadiusFilter(cloud);
  const std::string out = testing::internal::GetCapturedStdout();
  return {out, testing::internal::GetCapturedStderr()};
}

// As when the application's cloud drops, doubles or brings points of its own.
TEST(CloudFilter, AFrameThatDoesNotFitPassesUnfilteredAndTheNextIsClean) {
  for (const std::size_t points : {1U, 2U, 4U, 100U}) {
    Filter filter(true, 0.5F, 1);
    Register(filter, {{1, 1, 5}, {10, 10, 5}, {10, 10, 5}});
    const auto cloud = Numbered(points);
    EXPECT_EQ(OutputOf(filter, cloud), Output("", kMismatch));
    EXPECT_EQ(cloud->points.size(), points);
    EXPECT_TRUE(Filtered(filter, {{10, 11, 5}, {2, 2, 5}}).empty()) << "nothing is left";
  }
}

TEST(CloudFilter, AnEmptyCloudIsReportedAndSpoilsTheNextFrame) {
  Filter filter(true, 0.5F, 1);
  Register(filter, {{1, 1, 5}});
  EXPECT_EQ(OutputOf(filter, Numbered(0)), Output("point_cloud->points size:0\n", ""));
  EXPECT_EQ(OutputOf(filter, nullptr), Output());
  Register(filter, {{1, 1, 5}});
  EXPECT_EQ(OutputOf(filter, Numbered(1)), Output("", kMismatch));
  Filter off(false, 0.5F, 1);
  EXPECT_EQ(OutputOf(off, Numbered(0)), Output());
  EXPECT_EQ(Filtered(off, {{1, 1, 5}}), std::vector<int>{0});
}

TEST(CloudFilter, AFrameThatNeverEndsStopsGrowing) {
  Filter::Impl state(true, 0.5F, 1);
  const std::size_t limit = Filter::Impl::kMaxRegistrations;
  for (std::size_t i = 0; i <= limit; ++i) state.UpdateHashMap(1, 1, 0, 5, false);
  EXPECT_EQ(state.registered, limit);
  auto cloud = Numbered(limit);
  testing::internal::CaptureStderr();
  state.RadiusFilter(*cloud);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kMismatch);
  EXPECT_EQ(cloud->points.size(), limit);
  EXPECT_TRUE(state.registered == 0 && !state.overfull) << "the next frame is clean";
}

}  // namespace
}  // namespace orliq::lidar
