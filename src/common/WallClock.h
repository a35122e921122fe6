// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ctime>

namespace orliq::lidar {

/// Whole seconds since 1970-01-01 UTC, as `time()` gives them.
std::time_t WallClockSeconds();

/// Replaces the clock behind WallClockSeconds, for tests of time limits; null restores `time()`.
void SetWallClockForTesting(std::time_t (*clock)());

}  // namespace orliq::lidar
