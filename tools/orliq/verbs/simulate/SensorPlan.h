// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/verbs/simulate/SimulateOptions.h"
#include "simulator/scene/SceneView.h"

namespace orliq::cli {

/// How one sensor of a file is simulated.
struct SensorPlan {
  std::string name;
  std::string where;        ///< "sensors.yaml:7: front: ", what a sentence about it begins with
  SimulateOptions options;  ///< as if it were simulated alone
  sim::Pose pose;           ///< its extrinsics
};

/// A plan for each sensor of the file, in its order: a live one sends to where its driver listens, from
/// its source address; one with a capture writes it. Each is a unit of its own, as its seed tells; all
/// start at the same time. Throws Failure for an address that is not of this machine, so that nothing
/// is ever sent elsewhere, for two sensors on one file, folder or port, and for options that fit none
/// of the sensors.
std::vector<SensorPlan> PlanSensors(const SimulateOptions& options, const SensorFile& file,
                                    const Console& console);

}  // namespace orliq::cli
