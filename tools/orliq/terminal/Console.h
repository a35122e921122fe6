// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <ostream>
#include <string>
#include <utility>

#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Report.h"

namespace orliq::cli {

/// Keeps data and chatter apart: standard output is for data and tables only. While a Console lives it
/// takes the library's diagnostic lines: errors go to standard error, the rest is dropped unless it is
/// asked for.
class Console {
 public:
  /// With `json`, standard output gets one JSON object, in the end.
  explicit Console(bool json = false);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// Shows the table at once; as JSON it waits for Finish, so that a failure goes into it as well.
  void Print(const Report& report);

  /// Says on standard error why `command` fails, and in the JSON object.
  void Fail(const std::string& command, ExitCode code, const std::string& sentence);

  /// Brings out what waits; false when standard output cannot take it.
  bool Finish();

  /// Sends all of the library's lines to standard error.
  static void ShowLibraryLines();

  /// A remark on standard error; dropped when quiet, or empty.
  void Note(const std::string& sentence) const;

  /// Likewise what is of no use elsewhere: no listener gets it.
  void Announce(const std::string& sentence) const;

  /// Who gets all remarks too, quiet or not; for one that lives as long as this.
  void SetListener(std::function<void(const std::string&)> listener) {
    listener_ = std::move(listener);
  }

  void SetQuiet(bool quiet) { quiet_ = quiet; }
  bool Quiet() const { return quiet_; }

 private:
  bool json_;
  Json object_;
  bool quiet_ = false;
  std::function<void(const std::string&)> listener_;
};

}  // namespace orliq::cli
