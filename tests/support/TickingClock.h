// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <ctime>

#include "common/WallClock.h"

namespace orliq::test {

/// While it lives, every look at the clock is ten seconds after the one before: no report of a bad
/// packet is held back.
struct TickingClock {
  TickingClock() {
    lidar::SetWallClockForTesting([] {
      static std::atomic<std::time_t> now{std::time(nullptr)};
      return now += 10;
    });
  }
  ~TickingClock() { lidar::SetWallClockForTesting(nullptr); }
};

}  // namespace orliq::test
