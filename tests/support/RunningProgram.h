// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <future>
#include <string>

#include "support/Playback.h"
#include "support/Program.h"

namespace orliq::test {

/// The program while it runs.
class RunningProgram : public Program {
 protected:
  ~RunningProgram() override {
    if (program_.valid()) Signal(SIGKILL);
  }

  /// Starts "orliq ARGUMENTS".
  void Start(const std::string& arguments, const std::string& before = "") {
    std::filesystem::remove(dir_ / "err");
    std::filesystem::remove(dir_ / "pid");
    program_ = std::async(std::launch::async, [=] { return Run(arguments, before + kReachable); });
  }

  bool HasNoted(const std::string& words) const {
    return dir_.Read("err").find(words) != std::string::npos;
  }

  Outcome Finish(int signal = 0) {
    for (int i = 0; i < 2; ++i) Signal(signal);  // twice, as the program timeout does; 0: none
    if (program_.wait_for(std::chrono::seconds(30)) != std::future_status::ready) {
      ADD_FAILURE() << "it does not end";
      Signal(SIGKILL);
    }
    return program_.get();
  }

  /// Whether two folders hold the same files.
  bool Same(const std::string& a, const std::string& b) const {
    const std::string folder = dir_.path();
    return std::system(("cd '" + folder + "' && diff -r " + a + ' ' + b).c_str()) == 0;
  }

  std::future<Outcome> program_;
};

}  // namespace orliq::test
