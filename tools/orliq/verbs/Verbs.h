// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "orliq/terminal/Verb.h"

namespace orliq::cli {

/// Without its verbs yet.
Program MakeProgram();

/// In the order of the help, with all their options.
std::vector<Verb> AddVerbs(Program& program);

}  // namespace orliq::cli
