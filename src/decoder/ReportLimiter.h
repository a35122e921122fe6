// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <ctime>

#include "common/WallClock.h"

namespace orliq::lidar {

/// Lets one report through in two seconds, by whole seconds of the wall clock; the first one
/// always. A clock that is set back suppresses reports until it has caught up. Safe from any
/// thread.
class ReportLimiter {
 public:
  /// Calls `report` unless the last one is less than two seconds ago.
  template <typename Report>
  void Run(const Report& report) {
    const std::time_t now = WallClockSeconds();
    if (now - last_.load(std::memory_order_relaxed) < 2) return;
    report();
    last_.store(now, std::memory_order_relaxed);
  }

 private:
  std::atomic<std::time_t> last_{0};
};

}  // namespace orliq::lidar
