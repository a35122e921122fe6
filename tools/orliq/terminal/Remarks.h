// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "orliq/terminal/Console.h"

namespace orliq::cli {

/// Remarks and failures of one sensor, that of the command line or one of several from a file: then its
/// name stands before each, and what the user may change is a key of that file.
class Remarks {
 public:
  /// The sensor of the command line. By a plain Console, as where there is one only.
  Remarks(const Console& console) : console_(&console) {}

  /// One of several. The console outlives this.
  Remarks(const Console& console, const std::string& sensor)
      : console_(&console), prefix_(sensor + ": ") {}

  /// A remark on standard error; dropped when quiet, or empty.
  void Note(const std::string& sentence) const {
    if (!sentence.empty()) console_->Note(prefix_ + sentence);
  }

  /// The sentence, after the sensor's name.
  std::string Named(const std::string& sentence) const { return prefix_ + sentence; }

  /// Whether the sensor is one of a file, so that the user wrote keys instead of options.
  bool AreOfFile() const { return !prefix_.empty(); }

  /// How the user wrote it: "--check-folder", or the key "check_folder".
  std::string Name(std::string option) const;

  /// Likewise as something to write: "--check-folder", or "check_folder:".
  std::string Setting(const std::string& option) const;

 private:
  const Console* console_;
  std::string prefix_;  // empty: the only sensor
};

}  // namespace orliq::cli
