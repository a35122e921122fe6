// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/CheckParamsOptions.h"

#include <memory>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddOptions(CommandLine& command, CheckParamsOptions& options) {
  command.Add("DIR", options.folder, "folder of calibration tables").Required();
  AddModelOption(command, options.model);
  command.Add("--plot", options.plot, "draw the tables into this file, .svg").NotEmpty();
  command.AddFlag("--force", options.force, "let --plot replace a file");
  command.AddFlag("--json", "report as JSON");
  command.AddFlag("--quiet", options.quiet, "no remarks");
}

}  // namespace

Verb AddCheckParams(Program& program) {
  const auto options = std::make_shared<CheckParamsOptions>();
  CommandLine command = program.AddVerb(
      "check-params", "Tells whether a folder of calibration tables is good for a sensor.");
  AddOptions(command, *options);
  command.Footer(
      "The folder is loaded as the driver loads it. Exit code 0: it loads and nothing in it is "
      "suspicious; 5: it loads, but look at it; 4: it does not load, and why. No field of view is "
      "fixed for any model: angles are held against the driver's default limits of 90 degrees.\n\n"
      "Example:\n  orliq check-params room --model juniq --plot room.svg");
  return {command, [options](Console& console) { return RunCheckParams(*options, console); }};
}

}  // namespace orliq::cli
