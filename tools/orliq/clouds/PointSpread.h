// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>

namespace orliq::cli {

/// Smallest, median and largest number of points of many frames, exact. It keeps how often each
/// number came, so its memory is bounded by the points of the largest frame, not by the time it
/// listens: some thousand numbers for days of a sensor whose frames differ by the radius filter.
class PointSpread {
 public:
  void Add(std::uint64_t points) {
    ++counts_[points];
    ++frames_;
  }

  std::uint64_t Frames() const { return frames_; }

  // All are 0 without a frame.
  std::uint64_t Min() const { return frames_ == 0 ? 0 : counts_.begin()->first; }
  std::uint64_t Max() const { return frames_ == 0 ? 0 : counts_.rbegin()->first; }
  /// Of an even number of frames the larger one of the two in the middle.
  std::uint64_t Median() const {
    std::uint64_t below = 0;
    for (const auto& [points, times] : counts_) {
      below += times;
      if (2 * below > frames_) return points;
    }
    return 0;
  }

 private:
  std::map<std::uint64_t, std::uint64_t> counts_;  // how many frames had so many points
  std::uint64_t frames_ = 0;
};

}  // namespace orliq::cli
