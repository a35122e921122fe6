// SPDX-License-Identifier: Apache-2.0
#include "common/WallClock.h"

#include <atomic>

namespace orliq::lidar {
namespace {

std::time_t SystemClock() {
  return std::time(nullptr);
}

std::atomic<std::time_t (*)()> wall_clock{&SystemClock};

}  // namespace

std::time_t WallClockSeconds() {
  return wall_clock.load()();
}

void SetWallClockForTesting(std::time_t (*clock)()) {
  wall_clock.store(clock == nullptr ? &SystemClock : clock);
}

}  // namespace orliq::lidar
