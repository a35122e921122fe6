// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/Program.h"

namespace orliq::cli {

/// One verb of the program: its options and what it does once they are parsed. `run` throws Failure
/// when it cannot do its work.
struct Verb {
  CommandLine command;
  std::function<ExitCode(Console&)> run;
};

Verb AddSimulate(Program& program);
Verb AddInfo(Program& program);
Verb AddPlay(Program& program);
Verb AddLive(Program& program);
Verb AddDoctor(Program& program);
Verb AddFuse(Program& program);
Verb AddRecord(Program& program);
Verb AddSend(Program& program);
Verb AddFetchParams(Program& program);
Verb AddCheckParams(Program& program);
Verb AddView(Program& program);
Verb AddBridge(Program& program);

}  // namespace orliq::cli
