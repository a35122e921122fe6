// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "orliq/clouds/CloudFormat.h"

namespace orliq::cli {

/// Where the clouds of a playback go: a folder that gets one file per cloud, or a single file.
class CloudWriter {
 public:
  /// `target` is a file when its name has the ending of a format. It is a folder, which is made
  /// when it is missing, when it is one already, ends with a slash or has no ending. An empty
  /// `format` takes the file's ending, or PCD for a folder. Frames of an earlier run in the folder
  /// go when the first cloud is written, if they may be replaced. Throws Failure for frames that may
  /// not, for an unknown format or ending, for a format that contradicts the ending, and for a
  /// folder that cannot be made.
  CloudWriter(std::filesystem::path target, const std::string& format, bool replace = false);

  /// Whether the target is one file and so takes one cloud only.
  bool SingleFile() const { return single_file_; }

  /// Writes the cloud of `frame`; `part` counts the clouds of a frame whose mark was lost, from 0.
  /// Returns the file's path. Throws Failure when it cannot be written.
  std::filesystem::path Write(const CloudView& cloud, int frame, int part);

  CloudFormat Format() const { return format_; }
  std::uint64_t Files() const { return files_; }
  std::uint64_t Bytes() const { return bytes_; }

 private:
  void RemoveStale();
  std::filesystem::path FileName(int frame, int part) const;

  std::filesystem::path target_;
  std::vector<std::filesystem::path> stale_;  // frames of an earlier run, to be removed
  CloudFormat format_ = CloudFormat::kPcd;
  bool single_file_ = false;
  std::uint64_t files_ = 0;
  std::uint64_t bytes_ = 0;
};

/// Writes `cloud` to `path`, which appears only when it is complete; returns its size in bytes.
std::uint64_t WriteCloud(const std::filesystem::path& path, CloudFormat format,
                         const CloudView& cloud);

/// Makes a folder and those above it. Throws Failure when that cannot be done.
void MakeFolder(const std::filesystem::path& folder);

}  // namespace orliq::cli
