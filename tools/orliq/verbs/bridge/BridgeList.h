// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// Tells which sensor is published by which computer, as the bridges of the domain say themselves: of those
/// that are heard within `seconds`, or two and a half. Throws Failure when none is.
ExitCode ListBridges(std::optional<double> seconds, Console& console);

}  // namespace orliq::cli
