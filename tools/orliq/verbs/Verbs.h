// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "orliq/terminal/Verb.h"

namespace orliq::cli {

/// Gives `app` all options of the program; its verbs in the order of the help.
std::vector<Verb> DescribeProgram(CLI::App& app);

}  // namespace orliq::cli
