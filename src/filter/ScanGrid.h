// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orliq::lidar {

/// The scan grid of one frame: for each row and column of the sensor the points measured there,
/// each with its position in the cloud and a value (its range). Finds the points whose value is
/// supported by points in the eight cells around them.
///
/// Nearly every cell holds one point, so the first point of each cell stands in a plain array with
/// a border, where empty cells hold NaN, which supports nobody; a row of it is compared with its
/// neighbours in a few vector instructions. Further points of a cell are kept apart, many of them
/// sorted by value, so that even a frame that puts all its points into two cells is searched
/// quickly.
///
/// Threads: no lock. Memory: about 0.8 MB and 20 bytes for each further point of a cell; it is kept
/// over frames, so that a steady state allocates nothing.
class ScanGrid {
 public:
  static constexpr int kRows = 256;
  static constexpr int kColumns = 256;

  ScanGrid();

  /// One byte per registered point, 1 for a point that stays.
  struct Mask {
    std::uint8_t* data;
    std::size_t size;
  };

  static bool HasRow(int row) { return static_cast<unsigned>(row) < kRows; }
  static bool HasColumn(int column) { return static_cast<unsigned>(column) < kColumns; }

  /// Enters a point; outside the grid nothing.
  void Add(int row, int column, int index, float value) {
    if (!HasRow(row) || !HasColumn(column)) return;
    const std::size_t cell = Cell(row, column);
    const std::int32_t kept_index = index < 0 ? kOutsideMask : index;
    row_used_[static_cast<std::size_t>(row)] = true;
    if (first_index_[cell] == kEmpty) {
      first_index_[cell] = kept_index;
      first_value_[cell] = value;
    } else {
      AddFurther({static_cast<std::uint32_t>(cell), {kept_index, value}});
    }
  }

  /// Sets keep[index] for each point of the row that has at least `min_neighbours` points with
  /// |difference of the values| <= radius in the neighbouring cells; points of the same cell do not
  /// count. Points whose index lies outside `keep` are left out, but support others.
  void MarkSupported(int row, float radius, std::uint32_t min_neighbours, Mask keep);

  void EraseRow(int row);
  void Clear();

 private:
  static constexpr std::size_t kStride = kColumns + 8;  // not a multiple of the page size
  static constexpr std::size_t kCells = (kRows + 2) * kStride;

  static constexpr std::int32_t kEmpty = -1;        // index of an empty cell
  static constexpr std::int32_t kOutsideMask = -2;  // what every negative index is kept as

  struct Entry {
    std::int32_t index;
    float value;
  };
  struct Further {
    std::uint32_t cell;
    Entry entry;
  };
  /// The further points of one cell: positions in `entries_`. Long ranges are sorted by value, with
  /// the numbers first and NaN behind them.
  struct Range {
    std::uint32_t cell;
    std::uint32_t begin;
    std::uint32_t numbers_end;
    std::uint32_t end;
  };
  /// The question that MarkSupported asks of each point.
  struct Test {
    float radius;
    std::uint32_t min_neighbours;
  };
  using Counts = std::array<std::uint32_t, kColumns>;

  static std::size_t Cell(int row, int column) {
    return static_cast<std::size_t>(row + 1) * kStride + static_cast<std::size_t>(column + 1);
  }
  static void Mark(std::int32_t index, Mask keep) {
    const auto position = static_cast<std::uint32_t>(index);
    if (position < keep.size) keep.data[position] = 1;
  }

  void AddFurther(const Further& point);
  void GroupFurther();
  void SortRange(Range& range);
  void DropRanges();
  bool HasFurtherAround(int row) const;
  void CountFirst(int row, float radius, Counts& counts) const;
  void CountFurther(int row, Test test, Counts& counts) const;
  void MarkFurther(int row, Test test, Mask keep) const;
  std::uint32_t FirstMatches(std::size_t cell, float value, float radius) const;
  std::uint32_t FurtherMatches(std::size_t cell, float value, Test test, std::uint32_t count) const;
  std::uint32_t RangeMatches(const Range& range, float value, float radius) const;

  std::vector<float> first_value_;         // NaN in empty cells and in the border
  std::vector<std::int32_t> first_index_;  // kEmpty in empty cells
  std::array<bool, kRows> row_used_{};

  std::vector<Further> further_;               // in the order of their entry
  bool grouped_ = true;                        // what follows describes further_
  std::vector<Entry> entries_;                 // further_ by cell
  std::vector<Range> ranges_;                  // one for each cell that has further points
  std::vector<std::uint32_t> range_of_;        // per cell: 1 + position in ranges_, 0 for none
  std::array<bool, kRows + 2> row_further_{};  // by row + 1, with a border
};

}  // namespace orliq::lidar
