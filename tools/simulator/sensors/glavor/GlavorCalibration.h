// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "simulator/sensors/BeamCalibration.h"

namespace orliq::sim {

/// The calibration of the Glavor unit with this seed: a fan of 100 by 30 degrees, no range offsets
/// and no numbers of its own in near_filter.
BeamCalibration MakeGlavorCalibration(std::uint64_t seed);

}  // namespace orliq::sim
