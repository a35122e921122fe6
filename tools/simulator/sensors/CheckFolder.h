// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>
#include <string>
#include <vector>

namespace orliq::sim {

/// One calibration table of a check-parameter folder.
struct CheckTable {
  std::string word;           ///< what the file is recognised by, such as "azimuth"
  std::vector<float> values;  ///< in table order
  std::size_t per_line = 1;   ///< numbers in a line
  bool labelled = false;      ///< each line begins with a label field: the word and a line number
};

/// How the names of half-written files begin, which a killed process leaves; its id follows.
constexpr char kUnfinished[] = ".unfinished.";

/// The name of the file that holds the table, and all of its text.
std::string TableFileName(const CheckTable& table);
std::string TableText(const CheckTable& table);

/// Writes each table as `word`.csv into `folder`, which is created when missing: comma-separated
/// numbers, as many digits as bring back every float exactly. No file appears before all of them are
/// complete. A not-a-number has its bits behind it; the first of them, by which it signals, cannot
/// come back from text.
///
/// A folder is read by searching the whole path of each file for the words. A folder that has one
/// of them in its own path would have every file taken for that table, so it is refused.
///
/// False, and a line in `error`, when a file cannot be written or the folder is refused.
[[nodiscard]] bool WriteTables(const std::filesystem::path& folder,
                               const std::vector<CheckTable>& tables, std::string& error);

}  // namespace orliq::sim
