// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/TableFiles.h"

#include <algorithm>
#include <system_error>

#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

namespace fs = std::filesystem;

std::vector<fs::path> TableFilesIn(const std::string& folder) {
  std::vector<fs::path> files;
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    std::error_code ignored;  // a link to nothing is no table
    const bool has_word = !TableWordIn(entry.path().filename().string()).empty();
    if (has_word && entry.is_regular_file(ignored)) files.push_back(entry.path());
  }
  if (!error) return files;
  throw Failure(ExitCode::kFileFault,
                "the folder " + folder + " cannot be listed: " + error.message());
}

void RemoveOtherTables(const std::string& folder, const std::vector<sim::CheckTable>& tables) {
  for (const fs::path& path : TableFilesIn(folder)) {
    const bool wanted = std::any_of(
        tables.begin(), tables.end(),
        [&](const sim::CheckTable& table) { return path.filename() == sim::TableFileName(table); });
    std::error_code error;
    if (!wanted) fs::remove(path, error);
    if (!error) continue;
    throw Failure(ExitCode::kFileFault, "cannot remove " + path.string() + ": " + error.message());
  }
}

}  // namespace orliq::cli
