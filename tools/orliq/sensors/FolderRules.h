// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/sensors/CheckTables.h"
#include "orliq/sensors/Models.h"

namespace orliq::cli {

/// How the driver of `model` takes the files of a folder for its tables, a rule in each line.
std::vector<std::string> FolderRules(const Model& model, const std::vector<CheckedTable>& tables);

/// What may have gone wrong with files that are of no use, a sentence each.
std::vector<std::string> FolderHints(const Model& model, const std::vector<CheckedTable>& tables,
                                     const std::vector<lidar::TableLoad>& files);

}  // namespace orliq::cli
