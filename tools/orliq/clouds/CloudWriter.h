// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <string>
#include <vector>

#include "orliq/clouds/CloudFormat.h"
#include "orliq/clouds/CloudSink.h"

namespace orliq::cli {

/// Where clouds are to go.
struct CloudTarget {
  std::filesystem::path path;
  CloudFormat format = CloudFormat::kPcd;
  bool single_file = false;
  std::vector<std::filesystem::path> stale;  ///< frames of an earlier run, which must go
};

/// `path` is a file when its name has the ending of a format. It is a folder when it is one already,
/// ends with a slash or has no ending. An empty `format` takes the file's ending, or PCD for a
/// folder. Changes nothing. Throws Failure for an unknown format or ending, for a format that
/// contradicts the ending, and for a file that exists or a folder with frames of an earlier run,
/// unless it may `replace` them.
CloudTarget ExamineTarget(const std::filesystem::path& path, const std::string& format,
                          bool replace);

/// Writes clouds to a folder that gets one file per cloud, or to a single file.
class CloudWriter : public CloudSink {
 public:
  /// Makes the folder when it is missing; frames of an earlier run in it go when the first cloud is
  /// written. Throws Failure as ExamineTarget does, when the folder cannot be made, and when no file
  /// can be made in it.
  CloudWriter(const std::filesystem::path& target, const std::string& format, bool replace = false);

  /// Whether the target is one file and so takes one cloud only.
  bool TakesOneCloud() const override { return target_.single_file; }

  using CloudSink::Write;
  std::filesystem::path Write(const CloudView& cloud, int frame, int part) override;

  std::uint64_t Files() const override { return files_; }
  std::uint64_t Bytes() const override { return bytes_; }
  std::string Contents() const override;

 private:
  void RemoveStale();
  std::filesystem::path FileName(int frame, int part) const;

  CloudTarget target_;
  std::uint64_t files_ = 0;
  std::uint64_t bytes_ = 0;
};

/// Writes `cloud` to `path`, which appears only when it is complete; returns its size in bytes.
std::uint64_t WriteCloud(const std::filesystem::path& path, CloudFormat format,
                         const CloudView& cloud);

/// Makes a folder and those above it. Throws Failure when that cannot be done.
void MakeFolder(const std::filesystem::path& folder);

}  // namespace orliq::cli
