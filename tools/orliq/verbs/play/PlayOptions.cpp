// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/play/PlayOptions.h"

#include <memory>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddOptions(CLI::App& command, PlayOptions& options) {
  command
      .add_option("CAPTURE", options.capture,
                  "capture file, pcap or pcapng, or FILE.mcap with packets")
      ->required();
  AddCloudOptions(command, options.cloud);
  command.add_option("--frames", options.frames, "A:B plays frame A to before frame B");
  command.add_option("--port", options.port, "destination port of the sensor; 0 takes every port")
      ->check(Within(0, 65535));
  command
      .add_option("--source", options.source,
                  "take the packets of this sender only, an IPv4 address")
      ->check(HostAddress());
  command
      .add_option("--topic", options.topic,
                  "of FILE.mcap, take the packets of this topic only, such as /packets")
      ->check(NotEmpty());
  command.add_flag("--partial", options.partial,
                   "keep what precedes the first whole frame and what follows the last");
  command.add_flag("--json", "report as JSON, with every frame");
  command.add_flag("--quiet", options.quiet, "no progress bar, no remarks");
}

}  // namespace

Verb AddPlay(CLI::App& app) {
  const auto options = std::make_shared<PlayOptions>();
  CLI::App* const command =
      app.add_subcommand("play", "Decodes the frames of a capture file and writes them as clouds.");
  AddOptions(*command, *options);
  command->footer(ModelTable() +
                  "\nExample:\n"
                  "  orliq play room.pcap --model juniq --check-folder room-check --frames 0:5 \\\n"
                  "      --out frames --format ply");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return RunPlay(*options, console);
          }};
}

}  // namespace orliq::cli
