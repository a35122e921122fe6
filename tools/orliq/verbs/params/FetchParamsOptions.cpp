// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/FetchParamsOptions.h"

#include <memory>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

constexpr double kLongestTime = 1e6;  // [s] eleven days

void AddTimes(CLI::App& command, FetchParamsOptions& options) {
  command
      .add_option("--time-limit", options.time_limit, "[s] give up when not all has come by then")
      ->check(Within(0.1, kLongestTime))
      ->capture_default_str();
  command
      .add_option("--wait", options.wait,
                  "[s] give up when nothing more has come for so long; 0: only the limit counts")
      ->check(Within(0.0, kLongestTime))
      ->capture_default_str();
}

void AddOptions(CLI::App& command, FetchParamsOptions& options) {
  command
      .add_option("HOST:PORT", options.from,
                  "the sensor's address or name, and its UDP port for the calibration")
      ->required();
  AddModelOption(command, options.model);
  command.add_option("--out", options.out, "check folder to write")->required()->check(NotEmpty());
  AddTimes(command, options);
  command
      .add_option("--local-port", options.local_port,
                  "UDP port of this machine to ask from; any that is free without it")
      ->check(Within(1, 65535));
  command.add_flag("--force", options.force, "replace the tables that are in the folder");
  command.add_flag("--lenient", options.lenient,
                   "take replies as they come: from another address or port, of other lengths");
  command.add_flag("--json", "report as JSON");
  command.add_flag("--quiet", options.quiet, "no progress bar, no remarks");
}

}  // namespace

Verb AddFetchParams(CLI::App& app) {
  const auto options = std::make_shared<FetchParamsOptions>();
  CLI::App* const command =
      app.add_subcommand("fetch-params",
                         "Asks a sensor for its calibration and writes it as a check folder that "
                         "loads back bit for bit.");
  AddOptions(*command, *options);
  command->footer(
      "Only replies of the sensor itself with exactly the bytes asked for are taken, unless "
      "--lenient is given. The folder is written when all tables are here; of a fetch that fails "
      "nothing is left. Exit codes: 0: it is written; 3: the sensor sent nothing that could be "
      "used; "
      "4: it does not send every table, or the folder cannot be written or holds other tables; 5: "
      "not all had come when it ended, or the folder gives back other numbers than were sent.\n\n"
      "Example:\n  orliq fetch-params 192.168.1.200:2390 --model juniq --out room-check");
  return {command, [options](Console& console) { return RunFetchParams(*options, console); }};
}

}  // namespace orliq::cli
