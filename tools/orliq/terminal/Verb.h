// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>

#include "orliq/terminal/CommandLine.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// One verb of the program: its options and what it does once they are parsed. `run` throws Failure
/// when it cannot do its work.
struct Verb {
  CommandLine command;
  std::function<ExitCode(Console&)> run;
};

Verb AddSimulate(CLI::App& app);
Verb AddInfo(CLI::App& app);
Verb AddPlay(CLI::App& app);
Verb AddLive(CLI::App& app);
Verb AddDoctor(CLI::App& app);
Verb AddFuse(CLI::App& app);
Verb AddRecord(CLI::App& app);
Verb AddSend(CLI::App& app);
Verb AddFetchParams(CLI::App& app);
Verb AddCheckParams(CLI::App& app);
Verb AddView(CLI::App& app);
Verb AddBridge(CLI::App& app);

}  // namespace orliq::cli
