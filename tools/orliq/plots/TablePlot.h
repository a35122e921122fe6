// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/sensors/CheckTables.h"
#include "orliq/sensors/Finding.h"

namespace orliq::cli {

/// An SVG document with a picture of every table of beams, and the numbers of the others below.
std::string DrawTables(const std::string& title, const std::vector<CheckedTable>& tables,
                       const std::vector<Finding>& findings);

}  // namespace orliq::cli
