// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "orliq/sensors/Models.h"
#include "param/ParamService.h"
#include "simulator/sensors/CheckFolder.h"

namespace orliq::cli {

/// The tables that a sensor of `model` has sent, from the record of `service`.
std::vector<sim::CheckTable> SentTables(const Model& model, lidar::ParamService& service);

/// The same as files of a check folder, which hold some models' tables several times over.
std::vector<sim::CheckTable> FilesOf(const Model& model, std::vector<sim::CheckTable> tables);

/// Numbers of a table that the folder does not give as they were sent.
struct TableDifference {
  std::string table;
  std::size_t numbers = 0;
  std::size_t first = 0;  ///< place of the first one in the table
};

/// Loads the folder as the driver does and compares every byte of the record with that of `sent`.
/// Throws Failure when it does not load.
std::vector<TableDifference> CompareFolder(const Model& model, const std::string& folder,
                                           lidar::ParamService& sent);

}  // namespace orliq::cli
