// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/InfoOptions.h"

#include <memory>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddOptions(CLI::App& command, InfoOptions& options) {
  command.add_option("CAPTURE", options.capture, "capture file, pcap or pcapng")->required();
  command
      .add_option("--model", options.model, "count the frames of this model (" + ModelNames() + ")")
      ->transform(LowerCase());
  command.add_option("--port", options.port, "look at this destination port only")
      ->check(Within(0, 65535));
  command.add_option("--source", options.source, "look at this sender only, an IPv4 address")
      ->check(HostAddress());
  command.add_option_function<std::string>(
      "--check-folder", [&options](const std::string& folder) { options.check_folder = folder; },
      "also say whether this calibration folder is good for the model");
  command.add_flag("--json", "report as JSON");
  command.add_flag("--quiet", options.quiet, "no progress bar, no remarks");
}

}  // namespace

Verb AddInfo(CLI::App& app) {
  const auto options = std::make_shared<InfoOptions>();
  CLI::App* const command =
      app.add_subcommand("info", "Tells what a capture file holds and which sensors fit.");
  AddOptions(*command, *options);
  command->footer(ModelTable() +
                  "\nSome models share length and identifier: which of them sent a flow is then a "
                  "guess by content.\n\n"
                  "Example:\n  orliq info room.pcap --model juniq");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return RunInfo(*options, console);
          }};
}

}  // namespace orliq::cli
