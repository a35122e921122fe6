// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/InfoOptions.h"

#include <memory>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddOptions(CommandLine& command, InfoOptions& options) {
  command.Add("CAPTURE", options.capture, "capture file, pcap or pcapng").Required();
  command.Add("--model", options.model, "count the frames of this model (" + ModelNames() + ")")
      .LowerCase();
  command.Add("--port", options.port, "look at this destination port only").Within(0, 65535);
  command.Add("--source", options.source, "look at this sender only, an IPv4 address")
      .HostAddress();
  command.AddText("--check-folder", options.check_folder,
                  "also say whether this calibration folder is good for the model");
  command.AddFlag("--json", "report as JSON");
  command.AddFlag("--quiet", options.quiet, "no progress bar, no remarks");
}

}  // namespace

Verb AddInfo(Program& program) {
  const auto options = std::make_shared<InfoOptions>();
  CommandLine command =
      program.AddVerb("info", "Tells what a capture file holds and which sensors fit.");
  AddOptions(command, *options);
  command.Footer(ModelTable() +
                 "\nSome models share length and identifier: which of them sent a flow is then a "
                 "guess by content.\n\n"
                 "Example:\n  orliq info room.pcap --model juniq");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return RunInfo(*options, console);
          }};
}

}  // namespace orliq::cli
