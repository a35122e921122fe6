// SPDX-License-Identifier: Apache-2.0
#include "param/SearchFiles.h"

#include <filesystem>
#include <system_error>

#include "common/Diagnostics.h"

namespace orliq::lidar {

bool SearchFiles(const std::string& folder, std::vector<std::string>& files) {
  std::error_code walk_error;
  std::filesystem::directory_iterator entry(folder, walk_error);
  const std::filesystem::directory_iterator end;
  while (!walk_error && entry != end) {
    std::error_code ignored;  // an entry whose status cannot be had is not known to be a directory
    if (!entry->is_directory(ignored)) {
      files.push_back(entry->path().native());
      diagnostics::FolderEntry(files.back());
    }
    entry.increment(walk_error);
  }
  return !walk_error;
}

}  // namespace orliq::lidar
