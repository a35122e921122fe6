// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/FetchedFolder.h"

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

#include <cerrno>
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

/// A folder that has the name of a table's file is in its way, with --force too.
void RequireNamesFree(const std::string& folder) {
  std::error_code error;
  for (const auto& entry : fs::directory_iterator(folder, error)) {
    const fs::path& path = entry.path();
    const std::string stem = path.stem().string();
    std::error_code ignored;
    if (path.extension() == ".csv" && TableWordIn(stem) == stem && entry.is_directory(ignored)) {
      throw Failure(ExitCode::kFileFault, path.string() +
                                              " is a folder, which has the name of a table's "
                                              "file: rename it, or name another one by --out");
    }
  }
}

void RequireUsable(const std::string& folder, bool force) {
  RequireNoTableWord("--out", folder);
  std::error_code ignored;
  if (!fs::is_directory(folder, ignored)) return;
  RequireNamesFree(folder);
  if (force) return;
  const auto files = TableFilesIn(folder);
  if (files.empty()) return;
  throw Failure(ExitCode::kFileFault,
                "the folder " + folder + " holds " + files.front().filename().string() +
                    ", which counts as a table: name another folder, or add --force to replace "
                    "the tables that are there");
}

/// Keeps others that write tables out of a folder, as far as the file system has locks.
class FolderLock {
 public:
  explicit FolderLock(const std::string& folder)
      : descriptor_(::open(folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC)) {
    while (descriptor_ >= 0 && ::flock(descriptor_, LOCK_EX) != 0 && errno == EINTR) continue;
  }
  ~FolderLock() {
    if (descriptor_ >= 0) ::close(descriptor_);
  }
  FolderLock(const FolderLock&) = delete;
  FolderLock& operator=(const FolderLock&) = delete;

 private:
  int descriptor_;
};

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
  const FolderLock lock(folder_);
  RequireUsable(folder_, force_);  // again: another fetch may have filled it in the meantime
  std::string error;
  if (!sim::WriteTables(folder_, tables, error)) throw Failure(ExitCode::kFileFault, error);
  if (force_) RemoveOtherTables(folder_, tables);
}

}  // namespace orliq::cli
