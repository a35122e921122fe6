// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "orliq/sensors/CheckTables.h"
#include "orliq/sensors/Finding.h"

namespace orliq::cli {

/// What is suspicious in a table of one number for every beam. Azimuths vary along the 256 columns,
/// elevations along the 192 rows, either way; range offsets are small. No field of view is fixed for any model:
/// angles are held against the driver's default limits, 90 degrees to every side.
///
/// Each beam is found fault with once, by the first rule that it breaks; later rules look at the
/// others only.
std::vector<Finding> FindInBeams(const CheckedTable& table);

}  // namespace orliq::cli
