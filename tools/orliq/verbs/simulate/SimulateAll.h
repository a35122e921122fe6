// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/simulate/SimulateOptions.h"

namespace orliq::cli {

/// Simulates all sensors of the file that `options.config` names in one scene, each at its place, at the
/// same time. Throws Failure.
ExitCode SimulateAll(const SimulateOptions& options, Console& console);

}  // namespace orliq::cli
