// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

namespace orliq::cli {

/// Ctrl-C and SIGTERM as a request to finish: while one of these lives, the first signal sets a
/// flag, so that a verb can close its files and print its table; the second ends the program at
/// once. One at a time; make it before any other thread starts.
class Interrupt {
 public:
  Interrupt();
  ~Interrupt();
  Interrupt(const Interrupt&) = delete;
  Interrupt& operator=(const Interrupt&) = delete;

  static bool Requested();

  /// Waits for that time or until a signal comes; true when one has come.
  static bool WaitFor(std::chrono::microseconds time);
};

}  // namespace orliq::cli
