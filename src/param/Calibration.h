// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "multi_driver/CalibrationStatus.h"
#include "param/ParamService.h"

namespace orliq::lidar {

/// Loads the check folder that `param` names, as every manager does in Init, and tells what became of
/// it. The tables are to be handed to the decoder when they loaded.
CalibrationStatus LoadCalibration(const DriverParam& param, ParamService& service);

/// What became of the tables that the sensor has sent, once all of them are here; `in_use` tells
/// whether the decoder has taken them over. Before, with null, nothing but their source.
CalibrationStatus UploadedCalibration(const ParamService* service, bool in_use);

}  // namespace orliq::lidar
