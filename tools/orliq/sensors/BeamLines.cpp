// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/BeamLines.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

#include "orliq/sensors/CheckTables.h"

namespace orliq::cli {
namespace {

constexpr double kMostStepsBack = 2.0;  // usual steps in all: a table may be a little uneven

float Middle(std::vector<float>& values) {
  const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
  std::nth_element(values.begin(), middle, values.end());
  return *middle;
}

}  // namespace

BeamLines::BeamLines(const std::vector<float>& angles, const std::vector<std::uint8_t>& faulty,
                     bool by_column)
    : by_column_(by_column), faulty_(faulty), middles_(by_column ? kBeamColumns : kBeamRows) {
  std::vector<std::vector<float>> lines(middles_.size());
  for (std::uint32_t i = 0; i < angles.size(); ++i) {
    if (faulty_[i] == 0) lines[LineOf(i)].push_back(angles[i]);
  }
  for (std::uint32_t i = 0; i < lines.size(); ++i) {
    if (lines[i].empty()) continue;
    middles_[i] = Middle(lines[i]);
    lines_.push_back({i, middles_[i]});
  }
}

std::uint32_t BeamLines::LineOf(std::uint32_t beam) const {
  return by_column_ ? beam % kBeamColumns : beam / kBeamColumns;
}

std::optional<BeamLines::Seam> BeamLines::FindSeam() const {
  double steps = 0.0;
  int rising = 0;  // steps up less steps down
  for (std::size_t i = 1; i < lines_.size(); ++i) {
    const double step = double{lines_[i].middle} - double{lines_[i - 1].middle};
    steps += std::fabs(step);
    rising += step > 0.0 ? 1 : (step < 0.0 ? -1 : 0);
  }
  double back = 0.0, largest = 0.0;
  Seam seam;
  for (std::size_t i = 1; i < lines_.size(); ++i) {
    const Line &before = lines_[i - 1], &after = lines_[i];
    const double step = double{before.middle} - double{after.middle};
    const double step_back = rising > 0 ? step : -step;
    back += std::max(step_back, 0.0);
    if (step_back <= largest) continue;
    largest = step_back;
    seam = {before.index, after.index, before.middle, after.middle};
  }
  const double usual = steps / std::max<double>(static_cast<double>(lines_.size()) - 1.0, 1.0);
  if (back <= kMostStepsBack * usual) return std::nullopt;
  return seam;
}

std::vector<float> BeamLines::Distances(const std::vector<float>& angles) const {
  std::vector<float> distances(angles.size());
  for (std::uint32_t i = 0; i < angles.size(); ++i) {
    if (faulty_[i] == 0) distances[i] = std::fabs(angles[i] - middles_[LineOf(i)]);
  }
  return distances;
}

}  // namespace orliq::cli
