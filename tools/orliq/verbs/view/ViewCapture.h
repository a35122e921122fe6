// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/view/ViewOptions.h"

namespace orliq::cli {

/// Plays the capture of the command line for the pages, until an interrupt.
ExitCode ViewCapture(const ViewOptions& options, Console& console);

/// Likewise the captures of a file of sensors, as one.
ExitCode ViewCaptures(const ViewOptions& options, const SensorFile& file, Console& console);

}  // namespace orliq::cli
