// SPDX-License-Identifier: Apache-2.0
#include "filter/ScanGrid.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace orliq::lidar {
namespace {

constexpr float kNothing = std::numeric_limits<float>::quiet_NaN();
// Up to this many points a range is compared one by one: cheaper than two searches.
constexpr std::uint32_t kFew = 8;

/// The one comparison of the filter. NaN on either side, or as the radius, matches nothing.
bool Matches(float a, float b, float radius) {
  return std::fabs(a - b) <= radius;
}

/// Counts for each value of a row the matches in eight other rows of values. Not inlined: knowing
/// that the rows overlap, a compiler carries values from column to column instead of vectorising.
__attribute__((noinline)) void CountMatches(const float* here,
                                            const std::array<const float*, 8>& around, float radius,
                                            std::array<std::uint32_t, ScanGrid::kColumns>& counts) {
  const auto [a, b, c, d, e, f, g, h] = around;
  for (std::size_t i = 0; i < counts.size(); ++i) {
    const auto matches = [value = here[i], radius](float other) -> std::uint32_t {
      return Matches(value, other, radius) ? 1 : 0;
    };
    counts[i] = matches(a[i]) + matches(b[i]) + matches(c[i]) + matches(d[i]) + matches(e[i]) +
                matches(f[i]) + matches(g[i]) + matches(h[i]);
  }
}

}  // namespace

ScanGrid::ScanGrid()
    : first_value_(kCells, kNothing), first_index_(kCells, kEmpty), range_of_(kCells, 0) {}

void ScanGrid::AddFurther(const Further& point) {
  further_.push_back(point);
  grouped_ = false;
}

void ScanGrid::MarkSupported(int row, float radius, std::uint32_t min_neighbours, Mask keep) {
  if (!row_used_[static_cast<std::size_t>(row)]) return;
  if (!grouped_) GroupFurther();
  const Test test{radius, min_neighbours};
  Counts counts;
  CountFirst(row, radius, counts);
  if (HasFurtherAround(row)) {
    CountFurther(row, test, counts);
    MarkFurther(row, test, keep);
  }
  const std::int32_t* const indices = &first_index_[Cell(row, 0)];
  for (std::size_t c = 0; c < kColumns; ++c) {
    if (counts[c] >= min_neighbours) Mark(indices[c], keep);
  }
}

void ScanGrid::CountFirst(int row, float radius, Counts& counts) const {
  const float* const here = &first_value_[Cell(row, 0)];
  const float* const above = here - kStride;
  const float* const below = here + kStride;
  CountMatches(here, {above - 1, above, above + 1, here - 1, here + 1, below - 1, below, below + 1},
               radius, counts);
}

/// Adds the further points to the counts of the first ones, as far as that can decide anything.
void ScanGrid::CountFurther(int row, Test test, Counts& counts) const {
  for (int c = 0; c < kColumns; ++c) {
    const std::size_t cell = Cell(row, c);
    std::uint32_t& count = counts[static_cast<std::size_t>(c)];
    if (first_index_[cell] == kEmpty || count >= test.min_neighbours) continue;
    count = FurtherMatches(cell, first_value_[cell], test, count);
  }
}

void ScanGrid::MarkFurther(int row, Test test, Mask keep) const {
  for (std::size_t cell = Cell(row, 0); cell < Cell(row, kColumns); ++cell) {
    if (range_of_[cell] == 0) continue;
    const Range& range = ranges_[range_of_[cell] - 1];
    for (std::uint32_t i = range.begin; i < range.end; ++i) {
      const Entry& point = entries_[i];
      const std::uint32_t count = FirstMatches(cell, point.value, test.radius);
      if (FurtherMatches(cell, point.value, test, count) >= test.min_neighbours) {
        Mark(point.index, keep);
      }
    }
  }
}

std::uint32_t ScanGrid::FirstMatches(std::size_t cell, float value, float radius) const {
  std::uint32_t count = 0;
  for (const std::size_t line : {cell - kStride, cell, cell + kStride}) {
    count += Matches(value, first_value_[line - 1], radius);
    count += Matches(value, first_value_[line + 1], radius);
    if (line != cell) count += Matches(value, first_value_[line], radius);
  }
  return count;
}

/// `count` and the matches among the further points around the cell, counted until they suffice.
std::uint32_t ScanGrid::FurtherMatches(std::size_t cell, float value, Test test,
                                       std::uint32_t count) const {
  for (const std::size_t line : {cell - kStride, cell, cell + kStride}) {
    for (std::size_t around = line - 1; around <= line + 1; ++around) {
      if (count >= test.min_neighbours) return count;
      if (around == cell || range_of_[around] == 0) continue;
      count += RangeMatches(ranges_[range_of_[around] - 1], value, test.radius);
    }
  }
  return count;
}

/// Among sorted numbers, those that match a finite value stand together around its own place: the
/// rounded distance from it never falls on the way outward. So two searches count them. For NaN
/// both come to nothing.
std::uint32_t ScanGrid::RangeMatches(const Range& range, float value, float radius) const {
  const Entry* const begin = entries_.data() + range.begin;
  const Entry* const end = entries_.data() + range.numbers_end;
  const auto match = [&](const Entry& point) { return Matches(value, point.value, radius); };
  if (range.end - range.begin <= kFew) {
    return static_cast<std::uint32_t>(std::count_if(begin, end, match));
  }

  const Entry* const middle = std::lower_bound(
      begin, end, value, [](const Entry& point, float v) { return point.value < v; });
  if (std::isinf(value)) {  // infinitely far from all but its equals, from which it has no distance
    if (radius != std::numeric_limits<float>::infinity()) return 0;
    const Entry* const above = std::upper_bound(
        middle, end, value, [](float v, const Entry& point) { return v < point.value; });
    return static_cast<std::uint32_t>((end - begin) - (above - middle));
  }
  const auto miss = [&](const Entry& point) { return !match(point); };
  const Entry* const first = std::partition_point(begin, middle, miss);
  const Entry* const last = std::partition_point(middle, end, match);
  return static_cast<std::uint32_t>(last - first);
}

/// Brings the further points of each cell together, in linear time but for the long ranges.
void ScanGrid::GroupFurther() {
  DropRanges();
  for (const Further& point : further_) {
    std::uint32_t& range = range_of_[point.cell];
    if (range == 0) {
      ranges_.push_back({point.cell, 0, 0, 0});
      range = static_cast<std::uint32_t>(ranges_.size());
      row_further_[point.cell / kStride] = true;
    }
    ++ranges_[range - 1].end;  // a count for now
  }
  std::uint32_t begin = 0;
  for (Range& range : ranges_) {
    const std::uint32_t count = range.end;
    range.begin = range.end = begin;
    begin += count;
  }
  entries_.resize(further_.size());
  for (const Further& point : further_) {
    entries_[ranges_[range_of_[point.cell] - 1].end++] = point.entry;
  }
  for (Range& range : ranges_) SortRange(range);
  grouped_ = true;
}

void ScanGrid::SortRange(Range& range) {
  range.numbers_end = range.end;
  if (range.end - range.begin <= kFew) return;
  Entry* const begin = entries_.data() + range.begin;
  Entry* const end = entries_.data() + range.end;
  Entry* const numbers_end =
      std::partition(begin, end, [](const Entry& point) { return !std::isnan(point.value); });
  std::sort(begin, numbers_end, [](const Entry& a, const Entry& b) { return a.value < b.value; });
  range.numbers_end = static_cast<std::uint32_t>(numbers_end - entries_.data());
}

void ScanGrid::DropRanges() {
  for (const Range& range : ranges_) range_of_[range.cell] = 0;
  ranges_.clear();
  row_further_.fill(false);
}

bool ScanGrid::HasFurtherAround(int row) const {
  const auto r = static_cast<std::size_t>(row);
  return row_further_[r] || row_further_[r + 1] || row_further_[r + 2];
}

void ScanGrid::EraseRow(int row) {
  const auto r = static_cast<std::size_t>(row);
  if (!row_used_[r]) return;
  row_used_[r] = false;
  const auto begin = static_cast<std::ptrdiff_t>(Cell(row, 0));
  std::fill_n(first_value_.begin() + begin, kColumns, kNothing);
  std::fill_n(first_index_.begin() + begin, kColumns, kEmpty);
  const auto erased = std::remove_if(further_.begin(), further_.end(), [r](const Further& point) {
    return point.cell / kStride == r + 1;
  });
  if (erased == further_.end()) return;
  further_.erase(erased, further_.end());
  grouped_ = false;
}

void ScanGrid::Clear() {
  DropRanges();
  further_.clear();
  grouped_ = true;
  for (int row = 0; row < kRows; ++row) EraseRow(row);
}

}  // namespace orliq::lidar
