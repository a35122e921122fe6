// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/params/FetchParamsOptions.h"

#include <memory>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

constexpr double kLongestTime = 1e6;  // [s] eleven days

void AddTimes(CommandLine& command, FetchParamsOptions& options) {
  command.Add("--time-limit", options.time_limit, "[s] give up when not all has come by then")
      .Within(0.1, kLongestTime)
      .ShowDefault();
  command
      .Add("--wait", options.wait,
           "[s] give up when nothing more has come for so long; 0: only the limit counts")
      .Within(0.0, kLongestTime)
      .ShowDefault();
}

void AddOptions(CommandLine& command, FetchParamsOptions& options) {
  command
      .Add("HOST:PORT", options.from,
           "the sensor's address or name, and its UDP port for the calibration")
      .Required();
  AddModelOption(command, options.model);
  command.Add("--out", options.out, "check folder to write").Required().NotEmpty();
  AddTimes(command, options);
  command
      .Add("--local-port", options.local_port,
           "UDP port of this machine to ask from; any that is free without it")
      .Within(1, 65535);
  command.AddFlag("--force", options.force, "replace the tables that are in the folder");
  command.AddFlag("--lenient", options.lenient,
                  "take replies as they come: from another address or port, of other lengths");
  command.AddFlag("--json", "report as JSON");
  command.AddFlag("--quiet", options.quiet, "no progress bar, no remarks");
}

}  // namespace

Verb AddFetchParams(Program& program) {
  const auto options = std::make_shared<FetchParamsOptions>();
  CommandLine command =
      program.AddVerb("fetch-params",
                      "Asks a sensor for its calibration and writes it as a check folder that "
                      "loads back bit for bit.");
  AddOptions(command, *options);
  command.Footer(
      "Only replies of the sensor itself with exactly the bytes asked for are taken, unless "
      "--lenient is given. The folder is written when all tables are here; of a fetch that fails "
      "nothing is left. Exit codes: 0: it is written; 3: the sensor sent nothing that could be "
      "used; 4: it does not send every table, or the folder cannot be written or holds other "
      "tables; 5: not all had come when it ended, or the folder gives back other numbers than were "
      "sent.\n\n"
      "Example:\n  orliq fetch-params 192.168.1.200:2390 --model juniq --out room-check");
  return {command, [options](Console& console) { return RunFetchParams(*options, console); }};
}

}  // namespace orliq::cli
