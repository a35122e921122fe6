// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <mutex>
#include <ostream>
#include <streambuf>
#include <string>

#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Report.h"

namespace orliq::cli {

/// Keeps data and chatter apart: standard output is for data and tables only. The library prints its
/// diagnostic lines to std::cout; while a Console lives they are dropped, or shown on standard error
/// when asked for.
///
/// Make one at the start of main, before any driver exists, and let it outlive every driver.
class Console {
 public:
  /// With `json`, standard output gets one JSON object, in the end.
  explicit Console(bool json = false);
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  /// The program's own standard output.
  std::ostream& Out() { return out_; }

  /// Shows the table at once; as JSON it waits for Finish, so that a failure goes into it as well.
  void Print(const Report& report);

  /// Says on standard error why `command` fails, and in the JSON object.
  void Fail(const std::string& command, ExitCode code, const std::string& sentence);

  /// Brings out what waits; false when standard output cannot take it.
  bool Finish();

  /// Sends the library's lines to standard error. No driver may be running.
  void ShowLibraryLines();

  /// A remark on standard error; dropped when quiet.
  void Note(const std::string& sentence) const;

  void SetQuiet(bool quiet) { quiet_ = quiet; }
  bool Quiet() const { return quiet_; }

 private:
  class Nowhere : public std::streambuf {
    int_type overflow(int_type c) override { return traits_type::not_eof(c); }
    std::streamsize xsputn(const char* /*text*/, std::streamsize size) override { return size; }
  };

  /// Hands whole lines of any thread to standard error.
  class Lines : public std::streambuf {
    int_type overflow(int_type c) override;
    std::streamsize xsputn(const char* text, std::streamsize size) override;

    std::mutex mutex_;
    std::string line_;  // guarded by mutex_: the beginning of the next one
  };

  bool json_;
  Json object_;
  Nowhere nowhere_;
  Lines lines_;
  std::streambuf* original_;
  std::ostream out_;
  bool quiet_ = false;
};

}  // namespace orliq::cli
