// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <mutex>

#include "orliq/clouds/PointSpread.h"

namespace orliq::cli {

/// What a number of clouds, or of a sensor's frames, held.
struct CloudSums {
  std::uint64_t count = 0;  ///< of them
  double span_s = 0.0;      ///< from the end of the first to that of the last
  std::uint64_t points = 0;
  std::uint64_t min_points = 0;  ///< of one
  std::uint64_t median_points = 0;
  std::uint64_t max_points = 0;
  std::uint64_t non_zero = 0;     ///< points that are not at the origin
  std::uint64_t last_points = 0;  ///< of the latest

  /// Of them in a second; 0 as long as there are not two.
  double Rate() const {
    return count > 1 && span_s > 0.0 ? static_cast<double>(count - 1) / span_s : 0.0;
  }
};

/// Counts clouds as they come. Safe from every thread.
class CloudCounter {
 public:
  void Add(std::uint64_t points, std::uint64_t non_zero) {
    const auto now = Clock::now();
    const std::lock_guard lock(mutex_);
    if (sums_.count == 0) first_ = now;
    sums_.span_s = std::chrono::duration<double>(now - first_).count();
    sums_.points += points;
    sums_.non_zero += non_zero;
    sums_.last_points = points;
    spread_.Add(points);
    ++sums_.count;
  }

  std::uint64_t Count() const {
    const std::lock_guard lock(mutex_);
    return sums_.count;
  }

  CloudSums Sums() const {
    const std::lock_guard lock(mutex_);
    CloudSums sums = sums_;
    sums.min_points = spread_.Min();
    sums.median_points = spread_.Median();
    sums.max_points = spread_.Max();
    return sums;
  }

 private:
  using Clock = std::chrono::steady_clock;

  mutable std::mutex mutex_;
  CloudSums sums_;           // but for the spread; guarded by mutex_, as the rest
  PointSpread spread_;       // of the points of one
  Clock::time_point first_;  // end of the first
};

}  // namespace orliq::cli
