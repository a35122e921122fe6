// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "simulator/sensors/CheckFolder.h"

// Files that may be read in place of the tables just written: any with a table's word in its name.
namespace orliq::cli {

/// Those in a folder. Throws Failure when it cannot be listed.
std::vector<std::filesystem::path> TableFilesIn(const std::string& folder);

/// Removes those that are not of `tables`. Throws Failure when that cannot be done.
void RemoveOtherTables(const std::string& folder, const std::vector<sim::CheckTable>& tables);

}  // namespace orliq::cli
