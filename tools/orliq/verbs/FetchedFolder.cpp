// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/FetchedFolder.h"

#include <system_error>
#include <utility>

#include "orliq/clouds/CloudWriter.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/TableFiles.h"
#include "orliq/terminal/AtomicFile.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

namespace fs = std::filesystem;

void RequireUsable(const std::string& folder, bool force) {
  const std::string word = TableWordIn(folder);
  if (!word.empty()) {
    throw Failure(ExitCode::kFileFault,
                  "--out " + folder + ": the word \"" + word +
                      "\" in the path makes every file in it count as that table: choose another "
                      "name");
  }
  std::error_code ignored;
  if (force || !fs::is_directory(folder, ignored)) return;
  const auto files = TableFilesIn(folder);
  if (files.empty()) return;
  throw Failure(ExitCode::kFileFault,
                "the folder " + folder + " holds " + files.front().filename().string() +
                    ", which counts as a table: name another folder, or add --force to replace "
                    "the tables that are there");
}

}  // namespace

NewFolders::NewFolders(const fs::path& folder) {
  std::error_code ignored;
  for (fs::path path = folder; !path.empty() && !fs::exists(path, ignored);
       path = path.parent_path()) {
    paths_.push_back(path);
  }
}

NewFolders::~NewFolders() {
  std::error_code ignored;  // such as one that holds files now
  for (const fs::path& path : paths_) fs::remove(path, ignored);
}

FetchedFolder::FetchedFolder(std::string folder, bool force)
    : folder_(std::move(folder)), force_(force), made_(folder_) {
  RequireUsable(folder_, force_);
  MakeFolder(folder_);
  const AtomicFile trial(fs::path(folder_) / "tables");
}

void FetchedFolder::Write(const std::vector<sim::CheckTable>& tables) const {
  std::string error;
  if (!sim::WriteTables(folder_, tables, error)) throw Failure(ExitCode::kFileFault, error);
  if (force_) RemoveOtherTables(folder_, tables);
}

}  // namespace orliq::cli
