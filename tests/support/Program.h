// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gmock/gmock.h>

#include <string>

#include "support/JsonValue.h"
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

/// The program, in a folder of its own.
class Program : public testing::Test {
 protected:
  /// Stands before a command that Signal is to reach; RunJson puts it there.
  static constexpr char kReachable[] = "echo $$ > pid; exec";

  /// Runs "orliq ARGUMENTS".
  Outcome Run(const std::string& arguments, const std::string& before = "") const;

  /// The same with --json, to end with that code; `outcome_` holds what came beside the JSON. Null,
  /// with a failure noted, where none came.
  JsonValue RunJson(const std::string& arguments, int code = 0);

  void Signal(int signal) const;

  Outcome ExpectRefusal(const Refusal& row) const;

  void Simulate(const std::string& more) const;

  const TempDir dir_;
  Outcome outcome_;
};

}  // namespace orliq::test
