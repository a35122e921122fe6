// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/SendOptions.h"

#include <memory>

#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddOptions(CLI::App& command, SendOptions& options) {
  command.add_option("CAPTURE", options.capture, "capture file, pcap or pcapng")->required();
  command
      .add_option("--port", options.port, "send only what went to this port; 0 takes every port")
      ->check(Within(0, 65535))
      ->capture_default_str();
  command.add_option("--loop", options.loop, "times to send the capture: a number, or forever")
      ->capture_default_str();
  command.add_flag("--json", "report as JSON");
  command.add_flag("--quiet", options.quiet, "no progress bar, no remarks");
  AddTransmissionOptions(command, options.transmission)->required();
}

}  // namespace

Verb AddSend(CLI::App& app) {
  const auto options = std::make_shared<SendOptions>();
  CLI::App* const command = app.add_subcommand("send",
                                               "Sends the UDP packets of a capture file, at the "
                                               "pace at which they were recorded. A pause of "
                                               "more than 2 s counts as 2 s.");
  AddOptions(*command, *options);
  command->footer(
      "Ctrl-C ends it with its table; before the last of --loop rounds that is exit code 5.\n\n"
      "Example:\n  orliq send room.pcap --to 127.0.0.1:2368 --speed 0.5 --loop forever");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return RunSend(*options, console);
          }};
}

}  // namespace orliq::cli
