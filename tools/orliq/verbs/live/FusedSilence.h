// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/verbs/live/FusedCounts.h"

namespace orliq::cli {

/// Why no packet arrived within `seconds` of these sensors, by index: a paragraph for each; but of
/// those from which nothing at all came for the first only, while the others share a line.
std::vector<std::string> WhyNothingArrived(const SensorFile& file, const FusedCounts& counts,
                                           double seconds, const std::vector<std::size_t>& sensors,
                                           const Console& console);

}  // namespace orliq::cli
