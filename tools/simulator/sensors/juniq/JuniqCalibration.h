// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "simulator/sensors/BeamCalibration.h"

namespace orliq::sim {

/// The calibration of the Juniq unit with this seed: a fan of 120 by 40 degrees with an offset for
/// each beam. Of near_filter, [4] is 1 to switch the radius filter on, [5] its radius [m] and [6] its
/// neighbour count; [7] is the range offset [m] of columns from 128 on, [8] of those below.
BeamCalibration MakeJuniqCalibration(std::uint64_t seed, bool radius_filter);

}  // namespace orliq::sim
