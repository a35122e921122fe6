// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <filesystem>
#include <string>
#include <vector>

#include "simulator/sensors/CheckFolder.h"

namespace orliq::cli {

/// The folders on the way to one that did not exist before. Empty, they are removed in the end.
class NewFolders {
 public:
  /// Makes none of them yet.
  explicit NewFolders(const std::filesystem::path& folder);
  ~NewFolders();
  NewFolders(const NewFolders&) = delete;
  NewFolders& operator=(const NewFolders&) = delete;

 private:
  std::vector<std::filesystem::path> paths_;  // the innermost first
};

/// A check folder for the tables that a sensor sends. Destroyed without Write, it leaves nothing
/// behind: a folder that it made is gone again.
class FetchedFolder {
 public:
  /// Makes the folder when it is missing and writes nothing yet, so that a fault shows before the
  /// sensor is asked. Throws Failure when it cannot be written to, when its path has a table's word in
  /// it, and when it holds files that count as tables, unless `force` is given.
  FetchedFolder(std::string folder, bool force);

  /// With `force` every other file that counts as a table is removed. Throws Failure when the folder
  /// is no longer as the constructor wants it, or the disk refuses.
  void Write(const std::vector<sim::CheckTable>& tables) const;

 private:
  std::string folder_;
  bool force_;
  NewFolders made_;
};

}  // namespace orliq::cli
