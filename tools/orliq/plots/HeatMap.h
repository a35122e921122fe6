// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/plots/Svg.h"
#include "orliq/sensors/CheckTables.h"
#include "orliq/sensors/Finding.h"

namespace orliq::cli {

constexpr double kPanelWidth = 690.0;  // of a heat map with its axes and its colour bar

constexpr char kFaultColour[] = "#b00000";  // of texts

/// Draws a table of one number for every beam at x, y: columns to the right, row 0 at the top, the
/// beams that `findings` name in a loud colour, of which the scale takes no notice. Below stands what
/// was found. Returns the height.
double DrawHeatMap(Svg& svg, double x, double y, const CheckedTable& table,
                   const std::vector<Finding>& findings);

}  // namespace orliq::cli
