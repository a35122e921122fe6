// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/view/ViewOptions.h"

namespace orliq::cli {

/// Shows what live receives of the sensor of the command line, and ends with its table.
ExitCode ViewLive(const ViewOptions& options, Console& console);

/// Likewise of the sensors of a file.
ExitCode ViewLive(const ViewOptions& options, const SensorFile& file, Console& console);

}  // namespace orliq::cli
