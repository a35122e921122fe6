// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "multi_driver/Diagnostics.h"

namespace orliq::lidar {

/// Gives whole lines, each ended by a newline, to the application's sink one by one, or writes them
/// to their stream in one piece and flushes it. May be called from any thread, also while the process
/// ends.
void WriteDiagnostic(DiagnosticStream stream, const std::string& lines);

}  // namespace orliq::lidar
