// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "multi_driver/DriverStatistics.h"

namespace orliq::cli {

/// What a capture's driver has counted since an earlier moment; what it found while indexing stays
/// whole.
lidar::DriverStatistics Since(const lidar::DriverStatistics& before, lidar::DriverStatistics now);

}  // namespace orliq::cli
