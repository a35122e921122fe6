// SPDX-License-Identifier: Apache-2.0
#include "support/RunningProgram.h"

#include <csignal>
#include <cstdlib>
#include <future>

namespace orliq::test {

struct RunningProgram::Pending {
  std::future<Outcome> outcome;
};

RunningProgram::RunningProgram() : pending_(std::make_unique<Pending>()) {}

RunningProgram::~RunningProgram() {
  if (pending_->outcome.valid()) Signal(SIGKILL);
}

void RunningProgram::Start(const std::string& arguments, const std::string& before) {
  std::filesystem::remove(dir_ / "err");
  std::filesystem::remove(dir_ / "pid");
  pending_->outcome =
      std::async(std::launch::async, [=] { return Run(arguments, before + kReachable); });
}

bool RunningProgram::EndsWithin(std::chrono::steady_clock::duration time) {
  return pending_->outcome.wait_for(time) == std::future_status::ready;
}

bool RunningProgram::HasNoted(const std::string& words) const {
  return dir_.Read("err").find(words) != std::string::npos;
}

Outcome RunningProgram::Finish(int signal) {
  for (int i = 0; i < 2; ++i) Signal(signal);  // twice, as the program timeout does; 0: none
  if (!EndsWithin(std::chrono::seconds(30))) {
    ADD_FAILURE() << "it does not end";
    Signal(SIGKILL);
  }
  return pending_->outcome.get();
}

bool RunningProgram::Same(const std::string& a, const std::string& b) const {
  const std::string folder = dir_.path();
  return std::system(("cd '" + folder + "' && diff -r " + a + ' ' + b).c_str()) == 0;
}

}  // namespace orliq::test
