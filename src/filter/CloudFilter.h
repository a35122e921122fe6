// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "filter/ScanGrid.h"
#include "multi_driver/PointCloud.h"

namespace orliq::lidar {

/// Removes isolated returns from a frame. It looks at the sensor's scan grid instead of space: a
/// point stays when enough points in the eight neighbouring cells have a value (a range) within a
/// tolerance of its own. Points of the same cell do not support each other; a neighbour counts
/// whether or not it stays itself; columns do not wrap around.
///
/// Per frame: one UpdateHashMap for each point pushed into the cloud, in that order, then one
/// RadiusFilter.
///
/// Threads: no lock; it belongs to one decoder and its thread.
/// Ownership: copies share their state.
/// Failure: registrations that do not fit the cloud let the frame pass unfiltered, with a message.
template <typename T_PointCloud>
class CloudFilter {
 public:
  struct Impl;

  /// `radius` is the tolerance, in the unit of the values; NaN removes every point of the grid.
  /// With `min_neighbours` 0 every point of the grid stays. Without `enable` all calls do nothing.
  CloudFilter(bool const& enable, float const& radius, unsigned int const& min_neighbours);

  /// Registers the next point of the cloud, which stands at `index` in it. With `keep` it stays in
  /// any case and supports nobody. Otherwise its cell decides; outside the grid it is removed.
  void UpdateHashMap(int const& row, int const& col, int const& index, float const& value,
                     bool const& keep);

  /// Removes the isolated points, keeping the order of the others, and forgets all registrations.
  /// An empty cloud is reported and leaves them, so the next frame will not fit. Null does nothing.
  void RadiusFilter(std::shared_ptr<T_PointCloud>& cloud);

  /// Forgets all registrations: of a frame that ended unfiltered.
  void Reset();

 private:
  std::shared_ptr<Impl> impl_;
};

/// The state of a filter, with the row-at-a-time forms of its work.
template <typename T_PointCloud>
struct CloudFilter<T_PointCloud>::Impl {
  /// No sensor has so many points in a frame. A stream that never closes one stops growing here,
  /// and its frame is taken as one that does not fit.
  static constexpr std::size_t kMaxRegistrations = std::size_t{1} << 20;

  Impl(bool enabled, float tolerance, std::uint32_t neighbours)
      : enable(enabled), radius(tolerance), min_neighbours(neighbours) {}

  void UpdateHashMap(int row, int col, int index, float value, bool keep) {
    if (!enable || (registered == mask.size() && !GrowMask())) return;
    if (!keep) grid.Add(row, col, index, value);
    mask[registered++] = keep ? 1 : 0;
  }
  void RadiusFilter(T_PointCloud& cloud);

  /// Decides about the points of one row: sets the mask of those that stay. Outside the grid
  /// nothing.
  void ProcessRow(int row);
  /// Empties the cells of one row; the mask stays. Outside the grid nothing.
  void EraseRow(int row);
  /// Makes room in the mask; false when it has its greatest size, and the registration is lost.
  bool GrowMask();
  /// Forgets all registrations, keeping the memory for the next frame.
  void Reset();

  bool enable;
  float radius;
  std::uint32_t min_neighbours;
  ScanGrid grid;
  std::vector<std::uint8_t> mask;  ///< 1 for a point that stays, in the order of registration
  std::size_t registered = 0;      ///< entries of the mask that are in use
  bool overfull = false;           ///< registrations were lost
};

// Called for every point of a frame, hence inline.
template <typename T_PointCloud>
void CloudFilter<T_PointCloud>::UpdateHashMap(int const& row, int const& col, int const& index,
                                              float const& value, bool const& keep) {
  impl_->UpdateHashMap(row, col, index, value, keep);
}

}  // namespace orliq::lidar
