// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "orliq/config/SensorFile.h"
#include "orliq/verbs/doctor/Observation.h"

namespace orliq::cli {

/// What an examination saw.
struct Examination {
  std::vector<Observation> sensors;  ///< in the order in which they were given
  MachineState machine;
  double seconds = 0.0;  ///< it took
};

/// Listens to all of these live sensors at once, for so long or until the user interrupts it. A sensor
/// may come without its model: it is then taken for the one that its packets tell. Nothing is sent,
/// but for the requests of a sensor whose calibration is to come from itself.
Examination Examine(const std::vector<ConfiguredSensor>& sensors, double seconds, bool lenient);

}  // namespace orliq::cli
