// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/bridge/BridgeOptions.h"

namespace orliq::cli {

/// Publishes the frames of the command line's capture at the pace of their times, and ends with a table.
/// `file` describes its only sensor.
ExitCode BridgeCapture(const BridgeOptions& options, const SensorFile& file, Console& console);

/// Likewise those of a file's sensors, in rounds of one frame of each.
ExitCode BridgeCaptures(const BridgeOptions& options, const SensorFile& file, Console& console);

}  // namespace orliq::cli
