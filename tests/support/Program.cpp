// SPDX-License-Identifier: Apache-2.0
#include "support/Program.h"

#include <sys/wait.h>

#include <csignal>
#include <cstdio>
#include <exception>
#include <fstream>

namespace orliq::test {

Outcome Program::Run(const std::string& arguments, const std::string& before) const {
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

JsonValue Program::RunJson(const std::string& arguments, int code) {
  outcome_ = Run(arguments + " --json", kReachable);
  EXPECT_EQ(outcome_.code, code) << arguments << '\n' << outcome_.err;
  try {
    return JsonValue::Parse(outcome_.out);
  } catch (const std::exception& fault) {
    ADD_FAILURE() << arguments << ": " << fault.what() << '\n' << outcome_.err;
    return nullptr;
  }
}

void Program::Signal(int signal) const {
  pid_t pid = 0;
  if (std::ifstream(dir_ / "pid") >> pid) ::kill(pid, signal);
}

Outcome Program::ExpectRefusal(const Refusal& row) const {
  Outcome outcome = Run(row.arguments);
  EXPECT_EQ(outcome.code, row.code) << row.arguments << '\n' << outcome.err;
  EXPECT_THAT(outcome.err, testing::HasSubstr(row.sentence)) << row.arguments;
  return outcome;
}

void Program::Simulate(const std::string& more) const {
  const auto outcome =
      Run("simulate --model juniq --out room.pcap --check-folder room --quiet " + more);
  ASSERT_EQ(outcome.code, 0) << outcome.err;
}

}  // namespace orliq::test
