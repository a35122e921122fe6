// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <string_view>

namespace orliq::cli {

/// A file that grows by pieces, each of which is in it as a whole or not at all: what a full disk did not
/// take can be offered again.
///
/// Threads: belongs to one. Every fault throws Failure and names the file.
class GrowingFile {
 public:
  enum class Name {
    kAtOnce,     ///< the file has its name from the start, and keeps what is in it whatever happens
    kWhenWhole,  ///< it gets its name by Finish; without, nothing is left behind
  };

  /// An older file is replaced if it may be: at once, or when the new one is whole. Otherwise a file that
  /// exists is a fault, also one that has come meanwhile; and so is a pipe or a device.
  GrowingFile(std::filesystem::path path, Name name, bool replace);
  ~GrowingFile();
  GrowingFile(const GrowingFile&) = delete;
  GrowingFile& operator=(const GrowingFile&) = delete;

  void Append(std::string_view piece);

  /// Waits until the disk has what was appended.
  void Sync();

  /// Does so and closes the file.
  void Finish();

 private:
  std::filesystem::path path_;
  std::filesystem::path hidden_path_;  // until it has its name; else empty
  bool replace_;
  int descriptor_;
  std::uint64_t bytes_ = 0;
};

}  // namespace orliq::cli
