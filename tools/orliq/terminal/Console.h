// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <ostream>
#include <streambuf>
#include <string>

namespace orliq::cli {

/// Keeps data and chatter apart: `out` is the program's own standard output, for data and tables
/// only. The library prints its diagnostic lines to std::cout; while a Console lives they are
/// dropped, or shown on standard error when asked for.
///
/// Make one at the start of main, before any driver exists, and let it outlive every driver.
class Console {
 public:
  Console();
  ~Console();
  Console(const Console&) = delete;
  Console& operator=(const Console&) = delete;

  std::ostream& Out() { return out_; }

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

  Nowhere nowhere_;
  std::streambuf* original_;
  std::ostream out_;
  bool quiet_ = false;
};

}  // namespace orliq::cli
