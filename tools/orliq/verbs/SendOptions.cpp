// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/SendOptions.h"

#include <memory>

#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddOptions(CommandLine& command, SendOptions& options) {
  command.Add("CAPTURE", options.capture, "capture file, pcap or pcapng").Required();
  command.Add("--port", options.port, "send only what went to this port; 0 takes every port")
      .Within(0, 65535)
      .ShowDefault();
  command.Add("--loop", options.loop, "times to send the capture: a number, or forever")
      .ShowDefault();
  command.AddFlag("--json", "report as JSON");
  command.AddFlag("--quiet", options.quiet, "no progress bar, no remarks");
  AddTransmissionOptions(command, options.transmission).Required();
}

}  // namespace

Verb AddSend(Program& program) {
  const auto options = std::make_shared<SendOptions>();
  CommandLine command =
      program.AddVerb("send",
                      "Sends the UDP packets of a capture file, at the pace at which they were "
                      "recorded. A pause of more than 2 s counts as 2 s.");
  AddOptions(command, *options);
  command.Footer(
      "Ctrl-C ends it with its table; before the last of --loop rounds that is exit code 5.\n\n"
      "Example:\n  orliq send room.pcap --to 127.0.0.1:2368 --speed 0.5 --loop forever");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return RunSend(*options, console);
          }};
}

}  // namespace orliq::cli
