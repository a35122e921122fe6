// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "orliq/sensors/CheckTables.h"
#include "orliq/sensors/Finding.h"

namespace orliq::cli {

/// What is suspicious in the numbers that the driver would use, table by table; nothing in a good
/// folder. `files` are all files of the folder, also those that are no table.
std::vector<Finding> FindSuspicious(const std::vector<CheckedTable>& tables,
                                    const std::vector<lidar::TableLoad>& files);

}  // namespace orliq::cli
