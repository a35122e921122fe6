// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "simulator/sensors/Sensor.h"

namespace orliq::cli {

/// Writes the calibration of a synthetic sensor to `folder`, and with it the file simulated.txt that
/// lists what was written with a checksum each. By that list a later call knows which files it may
/// replace: without `force` it throws Failure, before anything has changed, when the folder holds
/// a file that no simulation wrote or that was changed since.
///
/// The name of the list holds no table's word, so drivers do not take it for a table. A sensor
/// without tables writes nothing.
void WriteSimulatedFolder(const sim::Sensor& sensor, const std::string& folder, bool force);

}  // namespace orliq::cli
