// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/CheckParamsOptions.h"

#include <memory>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddOptions(CLI::App& command, CheckParamsOptions& options) {
  command.add_option("DIR", options.folder, "folder of calibration tables")->required();
  AddModelOption(command, options.model);
  command.add_option("--plot", options.plot, "draw the tables into this file, .svg")
      ->check(NotEmpty());
  command.add_flag("--force", options.force, "let --plot replace a file");
  command.add_flag("--json", "report as JSON");
  command.add_flag("--quiet", options.quiet, "no remarks");
}

}  // namespace

Verb AddCheckParams(CLI::App& app) {
  const auto options = std::make_shared<CheckParamsOptions>();
  CLI::App* const command = app.add_subcommand(
      "check-params", "Tells whether a folder of calibration tables is good for a sensor.");
  AddOptions(*command, *options);
  command->footer(
      "The folder is loaded as the driver loads it. Exit code 0: it loads and nothing in it is "
      "suspicious; 5: it loads, but look at it; 4: it does not load, and why. No field of view is "
      "fixed for any model: angles are held against the driver's default limits of 90 degrees.\n\n"
      "Example:\n  orliq check-params room --model juniq --plot room.svg");
  return {command, [options](Console& console) { return RunCheckParams(*options, console); }};
}

}  // namespace orliq::cli
