// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/play/PlayOptions.h"

#include <memory>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/Verb.h"

namespace orliq::cli {
namespace {

void AddOptions(CommandLine& command, PlayOptions& options) {
  command.Add("CAPTURE", options.capture, "capture file, pcap or pcapng, or FILE.mcap with packets")
      .Required();
  AddCloudOptions(command, options.cloud);
  command.Add("--frames", options.frames, "A:B plays frame A to before frame B");
  command.Add("--port", options.port, "destination port of the sensor; 0 takes every port")
      .Within(0, 65535);
  command.Add("--source", options.source, "take the packets of this sender only, an IPv4 address")
      .HostAddress();
  command
      .Add("--topic", options.topic,
           "of FILE.mcap, take the packets of this topic only, such as /packets")
      .NotEmpty();
  command.AddFlag("--partial", options.partial,
                  "keep what precedes the first whole frame and what follows the last");
  command.AddFlag("--json", "report as JSON, with every frame");
  command.AddFlag("--quiet", options.quiet, "no progress bar, no remarks");
}

}  // namespace

Verb AddPlay(Program& program) {
  const auto options = std::make_shared<PlayOptions>();
  CommandLine command =
      program.AddVerb("play", "Decodes the frames of a capture file and writes them as clouds.");
  AddOptions(command, *options);
  command.Footer(ModelTable() +
                 "\nExample:\n"
                 "  orliq play room.pcap --model juniq --check-folder room-check --frames 0:5 \\\n"
                 "      --out frames --format ply");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return RunPlay(*options, console);
          }};
}

}  // namespace orliq::cli
