// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <string>

#include "support/TempDir.h"

namespace orliq::test {

struct Outcome {
  int code;  // -1: ended by a signal
  std::string out;
  std::string err;
};

/// A command line, its exit code, and what must stand in the sentence that says why.
struct Refusal {
  std::string arguments;
  int code;
  std::string sentence;
};

class Program : public testing::Test {
 protected:
  /// Stands before a command that Signal is to reach; RunJson puts it there.
  static constexpr char kReachable[] = "echo $$ > pid; exec";

  /// Runs "orliq ARGUMENTS" in a folder of its own.
  Outcome Run(const std::string& arguments, const std::string& before = "") const {
    const std::string command = "cd '" + dir_.path().string() + "' && " + before +
                                " '" ORLIQ_PROGRAM "' " + arguments + " 2>err";
    std::FILE* const pipe = popen(command.c_str(), "r");
    Outcome outcome = {};
    char text[4096];
    while (const std::size_t size = std::fread(text, 1, sizeof(text), pipe)) {
      outcome.out.append(text, size);
    }
    const int status = pclose(pipe);
    outcome.code = WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    outcome.err = dir_.Read("err");
    return outcome;
  }

  /// The same with --json, to end with that code; `outcome_` holds what came beside the JSON.
  nlohmann::json RunJson(const std::string& arguments, int code = 0) {
    outcome_ = Run(arguments + " --json", kReachable);
    EXPECT_EQ(outcome_.code, code) << arguments << '\n' << outcome_.err;
    return nlohmann::json::parse(outcome_.out, nullptr, false);
  }

  void Signal(int signal) const {
    pid_t pid = 0;
    if (std::ifstream(dir_ / "pid") >> pid) ::kill(pid, signal);
  }

  Outcome ExpectRefusal(const Refusal& row) const {
    Outcome outcome = Run(row.arguments);
    EXPECT_EQ(outcome.code, row.code) << row.arguments << '\n' << outcome.err;
    EXPECT_THAT(outcome.err, testing::HasSubstr(row.sentence)) << row.arguments;
    return outcome;
  }

  void Simulate(const std::string& more) const {
    const auto outcome =
        Run("simulate --model juniq --out room.pcap --check-folder room --quiet " + more);
    ASSERT_EQ(outcome.code, 0) << outcome.err;
  }

  const test::TempDir dir_;
  Outcome outcome_;
};

}  // namespace orliq::test
