// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orliq::cli {

/// What a report of a fault needs to tell: release, compiler, and the instruction set in use.
std::string VersionText();

}  // namespace orliq::cli
