// SPDX-License-Identifier: Apache-2.0
#include "filter/CloudFilter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

namespace orliq::lidar {
namespace {

constexpr float kInf = std::numeric_limits<float>::infinity();
constexpr float kNan = std::numeric_limits<float>::quiet_NaN();

using Cloud = PointCloud<PointSource>;  // the odd one: byte-packed
using Filter = CloudFilter<Cloud>;

struct Registration {
  int row;
  int col;
  float value;
  bool keep = false;
  int index = 0;
};
using Frame = std::vector<Registration>;

struct OwnCloud final : Cloud {};

/// A cloud of `count` points, each marked with its place in its first and last fields.
std::shared_ptr<Cloud> Numbered(std::size_t count) {
  auto cloud = std::make_shared<OwnCloud>();
  for (std::size_t i = 0; i < count; ++i) {
    PointSource point;
    point.x = static_cast<float>(i);
    point.source[8] = static_cast<std::uint8_t>(i);
    cloud->points.push_back(point);
  }
  return cloud;
}

/// The places of the points that are left.
std::vector<int> Left(const Cloud& cloud) {
  std::vector<int> left;
  for (const PointSource& point : cloud.points) {
    left.push_back(static_cast<int>(point.x));
    EXPECT_EQ(point.source[8], left.back() % 256) << "whole records move";
  }
  return left;
}

Frame InOrder(Frame frame) {
  for (std::size_t i = 0; i < frame.size(); ++i) frame[i].index = static_cast<int>(i);
  return frame;
}

void Register(Filter& filter, const Frame& frame) {
  for (const auto& p : frame) filter.UpdateHashMap(p.row, p.col, p.index, p.value, p.keep);
}

std::vector<int> Filtered(Filter& filter, const Frame& frame) {
  auto cloud = Numbered(frame.size());
  Register(filter, frame);
  filter.RadiusFilter(cloud);
  return Left(*cloud);
}

/// The rule in its plainest form: every point compared with every other.
std::vector<int> Expected(const Frame& frame, float radius, std::uint32_t min_neighbours) {
  const auto in_grid = [](const Registration& p) {
    return !p.keep && std::min(p.row, p.col) >= 0 && std::max(p.row, p.col) <= 255;
  };
  std::vector<bool> stays;
  for (const auto& p : frame) stays.push_back(p.keep);
  for (const auto& e : frame) {
    if (!in_grid(e) || e.index < 0 || static_cast<std::size_t>(e.index) >= frame.size()) continue;
    std::uint32_t count = 0;
    for (const auto& n : frame) {
      const bool touches = std::max(std::abs(n.row - e.row), std::abs(n.col - e.col)) == 1;
      if (touches && in_grid(n) && std::fabs(e.value - n.value) <= radius) ++count;
    }
    if (count >= min_neighbours) stays[static_cast<std::size_t>(e.index)] = true;
  }
  std::vector<int> left;
  for (std::size_t i = 0; i < stays.size(); ++i) {
    if (stays[i]) left.push_back(static_cast<int>(i));
  }
  return left;
}

TEST(CloudFilter, SmallScenesComeOutAsWorkedByHand) {
  const struct {
    const char* why;
    std::uint32_t min_neighbours;
    Frame frame;
    std::vector<int> left;
  } rows[] = {
      {"a point alone goes", 1, {{10, 10, 5}}, {}},
      {"no neighbours asked for: it stays", 0, {{10, 10, 5}, {0, 0, kNan}}, {0, 1}},
      {"one cell does not support itself", 1, {{10, 10, 5}, {10, 10, 5}}, {}},
      {"neighbours within the radius", 1, {{10, 10, 5}, {10, 11, 5.5F}}, {0, 1}},
      {"slightly beyond the radius", 1, {{10, 10, 5}, {10, 11, 5.5000005F}}, {}},
      {"a corner counts, two cells away does not", 1, {{1, 1, 5}, {2, 2, 5}, {2, 4, 5}}, {0, 1}},
      {"columns do not wrap around", 1, {{10, 0, 5}, {10, 255, 5}, {11, 0, 9}}, {}},
      {"a row's end does not touch the next row", 1, {{10, 255, 5}, {11, 0, 5}, {12, 0, 7}}, {}},
      {"neighbours count though they go", 2, {{5, 5, 1}, {5, 6, 1.5F}, {5, 7, 2}}, {1}},
      {"kept in any case, but no neighbour", 1, {{5, 5, 1, true}, {5, 6, 1}}, {0}},
      {"outside the grid goes", 0, {{-1, 0, 1}, {0, -1, 1}, {256, 0, 1}, {0, 256, 1}}, {}},
      {"outside the grid but kept", 1, {{256, 0, 1, true}, {0, -1, 1}}, {0}},
      {"both of a cell count for the next", 2, {{5, 5, 1}, {5, 5, 1}, {6, 5, 1}}, {2}},
      {"each supports the next cell", 1, {{5, 5, 1}, {5, 5, 1}, {6, 5, 1}}, {0, 1, 2}},
  };
  for (const auto& row : rows) {
    Filter filter(true, 0.5F, row.min_neighbours);
    EXPECT_EQ(Filtered(filter, InOrder(row.frame)), row.left) << row.why;
    const bool alone_stays = !Filtered(filter, InOrder({{6, 5, 1}})).empty();
    EXPECT_EQ(alone_stays, row.min_neighbours == 0) << "nothing is left after: " << row.why;
  }
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

TEST(CloudFilter, RandomFramesComeOutAsByThePlainRule) {
  std::mt19937 random(1);
  const struct {
    int span;
    std::size_t count;  // on about span * span cells
  } densities[] = {{28, 800}, {14, 800}, {3, 400}};
  for (const auto& [span, count] : densities) {
    for (const float radius : {0.5F, 0.0F, 0.3F, -1.0F, kInf, kNan}) {
      for (const std::uint32_t min_neighbours : {0U, 1U, 3U, 9U, 60U, 105U, ~0U}) {
        Filter filter(true, radius, min_neighbours);
        for (const bool odd : {false, true, false}) {  // the same filter over several frames
          const Frame frame = RandomFrame(random, span, count, odd);
          ASSERT_EQ(Filtered(filter, frame), Expected(frame, radius, min_neighbours))
              << span << " " << radius << " " << min_neighbours << " " << odd;
        }
      }
    }
  }
}

// Comparing all with all would be 5 * 10^11 comparisons, which no test run lasts.
TEST(CloudFilter, AllPointsInTwoCellsAreStillFilteredQuickly) {
  constexpr int kHalf = 500000;
  Frame frame;
  for (int i = 0; i < 2 * kHalf; ++i) frame.push_back({10, 10 + i % 2, i < 10 ? 7.0F : 5.0F});
  frame = InOrder(std::move(frame));
  Filter enough(true, 0.5F, kHalf - 5);  // what each of the many has in the other cell
  const std::vector<int> left = Filtered(enough, frame);
  EXPECT_EQ(left.size(), frame.size() - 10);
  EXPECT_EQ(left.front(), 10);
  Filter more(true, 0.5F, kHalf - 4);
  EXPECT_TRUE(Filtered(more, frame).empty());
}

TEST(CloudFilter, EqualInfinitiesHaveNoDistanceThatARadiusCouldHold) {
  Frame frame;
  for (int i = 0; i < 40; ++i) frame.push_back({10, 10 + i % 2, i < 4 ? -kInf : kInf});
  Filter filter(true, kInf, 3);  // the two of the other sign in the next cell do not suffice
  EXPECT_EQ(Filtered(filter, InOrder(frame)), (std::vector<int>{0, 1, 2, 3}));
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
    Register(filter, InOrder({{1, 1, 5}, {10, 10, 5}, {10, 10, 5}}));
    const auto cloud = Numbered(points);
    EXPECT_EQ(OutputOf(filter, cloud), Output("", kMismatch));
    EXPECT_EQ(cloud->points.size(), points);
    EXPECT_TRUE(Filtered(filter, InOrder({{10, 11, 5}, {2, 2, 5}})).empty()) << "nothing is left";
  }
}

TEST(CloudFilter, AnEmptyCloudIsReportedAndSpoilsTheNextFrame) {
  Filter filter(true, 0.5F, 1);
  Register(filter, InOrder({{1, 1, 5}}));
  EXPECT_EQ(OutputOf(filter, Numbered(0)), Output("point_cloud->points size:0\n", ""));
  EXPECT_EQ(OutputOf(filter, nullptr), Output());
  Register(filter, InOrder({{1, 1, 5}}));
  EXPECT_EQ(OutputOf(filter, Numbered(1)), Output("", kMismatch));
  Filter::Impl unused(false, 0.5F, 1);
  unused.UpdateHashMap(1, 1, 0, 5, false);
  EXPECT_EQ(unused.registered, 0U);
  Filter off(false, 0.5F, 1);
  EXPECT_EQ(OutputOf(off, Numbered(0)), Output());
  EXPECT_EQ(Filtered(off, InOrder({{1, 1, 5}})), std::vector<int>{0});
}

TEST(CloudFilter, AFrameThatNeverEndsStopsGrowing) {
  Filter::Impl state(true, 0.5F, 1);
  const std::size_t count = Filter::Impl::kMaxRegistrations + 1;
  for (std::size_t i = 0; i < count; ++i) state.UpdateHashMap(1, 1, static_cast<int>(i), 5, false);
  EXPECT_EQ(state.registered, Filter::Impl::kMaxRegistrations);
  auto cloud = Numbered(Filter::Impl::kMaxRegistrations);
  testing::internal::CaptureStderr();
  state.RadiusFilter(*cloud);
  EXPECT_EQ(testing::internal::GetCapturedStderr(), kMismatch);
  EXPECT_EQ(cloud->points.size(), Filter::Impl::kMaxRegistrations);
  EXPECT_TRUE(state.registered == 0 && !state.overfull) << "the next frame is clean";
}

TEST(CloudFilter, RowsCanBeDecidedAndErasedOneByOne) {
  Filter::Impl state(true, 0.5F, 1);
  const Frame frame = InOrder({{7, 1, 5}, {7, 1, 9}, {8, 1, 5}, {8, 1, 9}, {0, 0, 5}, {255, 0, 5}});
  for (const auto& p : frame) state.UpdateHashMap(p.row, p.col, p.index, p.value, p.keep);
  const auto mask = [&] {
    return std::string(reinterpret_cast<const char*>(state.mask.data()), state.registered);
  };
  for (const int outside : {-1, 256}) {
    state.ProcessRow(outside);
    state.EraseRow(outside);
  }
  EXPECT_EQ(mask(), std::string("\0\0\0\0\0\0", 6));
  state.ProcessRow(7);
  EXPECT_EQ(mask(), std::string("\1\1\0\0\0\0", 6));
  state.EraseRow(7);
  state.ProcessRow(8);
  EXPECT_EQ(mask(), std::string("\1\1\0\0\0\0", 6)) << "row 7 supports nobody any more";
}

}  // namespace
}  // namespace orliq::lidar
