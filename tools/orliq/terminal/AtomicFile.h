// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <filesystem>

namespace orliq::cli {

/// A file that appears under its name only when it is complete. It grows under a hidden name in the
/// same folder; Commit brings it to the disk and renames it, replacing an older file of that name.
/// Destroyed without Commit, it leaves nothing behind.
///
/// Every fault (no such folder, no permission, full disk) throws Failure and names the file.
class AtomicFile {
 public:
  explicit AtomicFile(std::filesystem::path path);
  ~AtomicFile();
  AtomicFile(const AtomicFile&) = delete;
  AtomicFile& operator=(const AtomicFile&) = delete;

  void Write(const void* bytes, std::size_t size);
  void Commit();

 private:
  std::filesystem::path path_;
  std::filesystem::path hidden_path_;
  int descriptor_;
};

}  // namespace orliq::cli
