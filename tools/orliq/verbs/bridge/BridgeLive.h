// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/bridge/BridgeOptions.h"

namespace orliq::cli {

/// Publishes what the live sensors of the file send until a limit or an interrupt, and ends with its table.
ExitCode BridgeLive(const BridgeOptions& options, SensorFile file, Console& console);

}  // namespace orliq::cli
