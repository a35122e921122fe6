// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace orliq::cli {

/// How far a long job is, on standard error. On a terminal it is one line that is written over again
/// and again and wiped out in the end; elsewhere, as in the log of a service, a line of its own
/// every 10 s.
class StatusLine {
 public:
  /// Shows at most one text per `pause` on a terminal, the first one after a pause. A silent line
  /// never shows.
  StatusLine(bool silent, std::chrono::milliseconds pause);
  ~StatusLine();
  StatusLine(const StatusLine&) = delete;
  StatusLine& operator=(const StatusLine&) = delete;

  /// Whether it is time for a new text.
  bool Due() const { return !silent_ && Clock::now() >= next_; }
  void Show(const std::string& text);

  /// Columns of a text that show: those of the terminal, or all of them.
  std::size_t Width() const;

  /// Whether the text shows on a terminal.
  bool OnTerminal() const { return terminal_; }

 private:
  using Clock = std::chrono::steady_clock;

  bool silent_;
  bool terminal_;
  std::chrono::milliseconds pause_;
  Clock::time_point next_;
};

}  // namespace orliq::cli
