// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/fuse/FuseOptions.h"

#include <memory>

#include "orliq/terminal/Verb.h"

namespace orliq::cli {
Verb AddFuse(Program& program) {
  const auto options = std::make_shared<FuseOptions>();
  CommandLine command = program.AddVerb(
      "fuse", "Plays the captures of several sensors at once and makes one cloud of their frames.");
  command.Add("--config", options->config, "file that describes the sensors, a capture of each")
      .NotEmpty()
      .Required();
  AddOutputOptions(command, options->output);
  command.Add("--frames", options->frames, "A:B fuses cloud A to before cloud B");
  command.AddFlag("--partial", options->partial,
                  "take frames that are not whole, at the ends of the captures, too");
  command.AddFlag("--json", "report as JSON, with every cloud");
  command.AddFlag("--quiet", options->quiet, "no progress bar, no remarks");
  command.Footer(
      "Cloud 0 is made of the first whole frame of each capture, or of the one that first_frame "
      "names in the file; cloud 1 of the next ones, and so on to the end of the shortest. The "
      "points of the file's first sensor come first.\n\n"
      "Example:\n"
      "  orliq fuse --config sensors.yaml --point point-source --out fused --format ply\n"
      "with sensors.yaml:\n"
      "  sensors:\n"
      "    - {name: front, model: juniq, capture: front.pcap,\n"
      "       check_folder: front-check, extrinsics: {x: 1.2}}\n"
      "    - {name: rear, model: juniq, capture: rear.pcap,\n"
      "       check_folder: rear-check, extrinsics: {x: -1.2, yaw: 180}}");
  return {command, [options](Console& console) {
            console.SetQuiet(options->quiet);
            return RunFuse(*options, console);
          }};
}

}  // namespace orliq::cli
