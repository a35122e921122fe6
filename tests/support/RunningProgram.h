// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <memory>
#include <string>

#include "support/Patience.h"
#include "support/Program.h"

namespace orliq::test {

/// The program while it runs.
class RunningProgram : public Program {
 protected:
  RunningProgram();
  ~RunningProgram() override;

  /// Starts "orliq ARGUMENTS".
  void Start(const std::string& arguments, const std::string& before = "");

  /// Whether it ends by itself before that time has passed.
  bool EndsWithin(std::chrono::steady_clock::duration time);

  bool HasNoted(const std::string& words) const;

  /// Waits for its end, at first with a signal to it if that is not 0.
  Outcome Finish(int signal = 0);

  /// Whether two folders hold the same files.
  bool Same(const std::string& a, const std::string& b) const;

 private:
  struct Pending;  // its outcome
  std::unique_ptr<Pending> pending_;
};

}  // namespace orliq::test
