// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/sensors/CheckFolder.h"

namespace orliq::sim {

/// The calibration as a sensor keeps it in its memory and hands it out piece by piece: for each table
/// four equal letters, "AAAA" for azimuth, "BBBB" for elevation, "CCCC" for weight, "DDDD" for
/// near_filter, "EEEE" for offset, in this order, and behind them the values as little-endian
/// 32-bit floats. Labels are for files only. No tables: no bytes.
std::vector<std::uint8_t> CheckImage(const std::vector<CheckTable>& tables);

}  // namespace orliq::sim
