// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <cmath>
#include <cstdlib>
#include <memory>
#include <vector>

#include "filter/CloudFilter.h"

// One frame of 49,152 points: registration and filtering. The yardstick keeps one growable list per
// grid cell and searches the eight neighbours of every entry.
namespace {

constexpr int kRows = 192;
constexpr int kColumns = 256;
constexpr float kRadius = 0.3F;
constexpr unsigned kNeighbours = 3;

float Range(int row, int column) {
  const float wall = 20.0F + 5.0F * std::sin(static_cast<float>(row + column) * 0.05F);
  return (row * 7 + column * 13) % 97 == 0 ? 60.0F : wall;  // some isolated returns
}

struct PlainFilter {
  struct Entry {
    std::int64_t index;
    float value;
  };
  std::vector<std::vector<Entry>> cells = std::vector<std::vector<Entry>>(256 * 256);
  std::vector<bool> mask;

  void Add(int row, int column, std::int64_t index, float value) {
    cells[static_cast<std::size_t>(row * 256 + column)].push_back({index, value});
    mask.push_back(false);
  }
  bool Supported(int row, int column, const Entry& entry) const {
    unsigned count = 0;
    for (int r = row - 1; r <= row + 1; ++r) {
      for (int c = column - 1; c <= column + 1; ++c) {
        if ((r == row && c == column) || r < 0 || r > 255 || c < 0 || c > 255) continue;
        for (const Entry& n : cells[static_cast<std::size_t>(r * 256 + c)]) {
          if (std::fabs(entry.value - n.value) <= kRadius && ++count >= kNeighbours) return true;
        }
      }
    }
    return false;
  }
  void Filter(PointCloud<Point>& cloud) {
    for (int row = 0; row < 256; ++row) {
      for (int column = 0; column < 256; ++column) {
        for (const Entry& e : cells[static_cast<std::size_t>(row * 256 + column)]) {
          if (Supported(row, column, e)) mask[static_cast<std::size_t>(e.index)] = true;
        }
      }
    }
    std::vector<Point> kept;
    kept.reserve(cloud.points.size());
    for (std::size_t i = 0; i < mask.size(); ++i) {
      if (mask[i]) kept.push_back(cloud.points[i]);
    }
    cloud.points.swap(kept);
    mask.clear();
    for (auto& cell : cells) cell.clear();
  }
};

/// Runs a filter over fresh frames; both forms must keep the same number of points.
template <typename Add, typename Filter>
void RunFrames(benchmark::State& state, Add add, Filter filter) {
  const auto cloud = std::make_shared<PointCloud<Point>>();
  std::size_t kept = 0;
  for (auto _ : state) {
    cloud->points.resize(kRows * kColumns);
    for (int column = 0; column < kColumns; ++column) {
      for (int row = 0; row < kRows; ++row) {
        add(row, column, column * kRows + row);
      }
    }
    filter(cloud);
    kept = cloud->points.size();
  }
  state.counters["kept"] = static_cast<double>(kept);
  state.SetItemsProcessed(state.iterations() * kRows * kColumns);
}

/// The ranges of the frame, worked out before the clock runs.
std::vector<float> Ranges() {
  std::vector<float> ranges;
  ranges.reserve(kRows * kColumns);
  for (int i = 0; i < kRows * kColumns; ++i) ranges.push_back(Range(i % kRows, i / kRows));
  return ranges;
}

void Plain(benchmark::State& state) {
  PlainFilter filter;
  const std::vector<float> ranges = Ranges();
  RunFrames(
      state,
      [&](int row, int column, int i) {
        filter.Add(row, column, i, ranges[static_cast<std::size_t>(i)]);
      },
      [&](auto& cloud) { filter.Filter(*cloud); });
}

void Library(benchmark::State& state) {
  orliq::lidar::CloudFilter<PointCloud<Point>> filter(true, kRadius, kNeighbours);
  const std::vector<float> ranges = Ranges();
  RunFrames(
      state,
      [&](int row, int column, int i) {
        filter.UpdateHashMap(row, column, i, ranges[static_cast<std::size_t>(i)], false);
      },
      [&](auto cloud) { filter.RadiusFilter(cloud); });
}

BENCHMARK(Plain)->Name("radius_filter/plain")->Unit(benchmark::kMillisecond);
BENCHMARK(Library)->Name("radius_filter/library")->Unit(benchmark::kMillisecond);

}  // namespace
