// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "multi_driver/DriverParam.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/Remarks.h"

namespace orliq::cli {

/// Remarks on a pose for a model whose points it does not move.
void RemarkOnUnusedPose(const Model& model, const lidar::TransformParam& pose,
                        const Remarks& remarks);

/// Remarks that `option`, such as "check-folder", is nothing for a model without calibration.
void RemarkOnUnusedCalibration(const Model& model, const std::string& option,
                               const Remarks& remarks);

}  // namespace orliq::cli
