// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "multi_driver/CalibrationStatus.h"
#include "param/ParamService.h"

namespace orliq::lidar {

/// Loads the check folder that `param` names, as every manager does in Init, and tells what became of
/// it. The tables are to be handed to the decoder when they loaded.
CalibrationStatus LoadCalibration(const DriverParam& param, ParamService& service);

}  // namespace orliq::lidar
