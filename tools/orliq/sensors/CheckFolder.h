// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/Console.h"

namespace orliq::cli {

/// What became of a folder of calibration tables, for the user.
struct CheckFolderReport {
  bool loaded = false;               ///< the driver will use the tables
  std::vector<std::string> remarks;  ///< one sentence per table that is missing or was not taken
};

/// Loads the folder as the driver of `model` does and tells what is wrong with it.
CheckFolderReport ExamineCheckFolder(const Model& model, const std::string& folder);

/// Points without calibration are worth nothing: throws Failure when the folder does not load, and
/// remarks on missing tables or a folder that was not named.
void RequireCalibration(const Model& model, const std::string& folder, const Console& console);

/// The word in `path` by which a table file is recognised, or nothing. Such a word in the path of a
/// folder makes every file in it count as that table.
std::string TableWordIn(const std::string& path);

}  // namespace orliq::cli
