// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "multi_driver/DriverStatistics.h"
#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/Remarks.h"
#include "orliq/verbs/Silence.h"
#include "orliq/verbs/params/UploadRemarks.h"

// What verbs that listen to several live sensors do before, and say after. A SensorFile without a path is
// that of the command line's only sensor.
namespace orliq::cli {

/// Remarks on that sensor of the file.
Remarks RemarksOn(const SensorFile& file, const ConfiguredSensor& sensor, const Console& console);

/// Calibration and ports as the drivers will find them; settings without effect are remarked on and
/// dropped. Throws Failure, with the place in the file.
void RequireSensors(SensorFile& file, const Console& console);

/// What the models of the sensors cannot give.
void TellOfModels(const SensorFile& file, const Console& console);

/// "0.0.0.0:2368 (front)"
std::string WhereText(const ConfiguredSensor& sensor);

/// "listening on ..., Ctrl-C ends it": a line when two sensors fit in one, else one for each.
std::string ListeningText(const SensorFile& file);

/// Whom the calibration of a sensor is asked of.
UploadRequest RequestOf(const ConfiguredSensor& sensor, bool lenient);

/// What is known of a sensor of which no packet could be decoded within `seconds`.
Silence SilenceOf(const ConfiguredSensor& sensor, const lidar::DriverStatistics& packets,
                  double seconds);

/// Says what the losses of all sensors mean; `socket_buffer` is what the user asked for.
void ExplainLosses(const std::vector<lidar::DriverStatistics>& sensors, std::uint32_t socket_buffer,
                   const Console& console);

}  // namespace orliq::cli
