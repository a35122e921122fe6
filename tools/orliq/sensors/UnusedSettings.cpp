// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/UnusedSettings.h"

namespace orliq::cli {

void RemarkOnUnusedPose(const Model& model, const lidar::TransformParam& pose,
                        const Remarks& remarks) {
  if (pose.enable == 0 || model.transforms_points) return;
  const std::string setting = remarks.AreOfFile() ? "extrinsics have" : "--transform has";
  remarks.Note(setting + " no effect on " + model.name + " points");
}

void RemarkOnUnusedCalibration(const Model& model, const std::string& option,
                               const Remarks& remarks) {
  remarks.Note(std::string(model.name) + " needs no calibration: " + remarks.Name(option) +
               " has no effect");
}

}  // namespace orliq::cli
