// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>
#include <sys/wait.h>

#include <cstdio>
#include <fstream>
#include <iterator>
#include <string>

#include "support/TempDir.h"

namespace orliq::test {

struct Outcome {
  int code;
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
    outcome.code = WEXITSTATUS(pclose(pipe));
    std::ifstream err(dir_ / "err");
    outcome.err.assign(std::istreambuf_iterator<char>(err), {});
    return outcome;
  }

  Outcome ExpectRefusal(const Refusal& row) const {
    const Outcome outcome = Run(row.arguments);
    EXPECT_EQ(outcome.code, row.code) << row.arguments << '\n' << outcome.err;
    EXPECT_THAT(outcome.err, testing::HasSubstr(row.sentence)) << row.arguments;
    return outcome;
  }

  void Simulate(const std::string& more = "--frames 3") const {
    const auto outcome =
        Run("simulate --model juniq --out room.pcap --check-folder room --quiet " + more);
    ASSERT_EQ(outcome.code, 0) << outcome.err;
  }

  const test::TempDir dir_;
};

}  // namespace orliq::test
