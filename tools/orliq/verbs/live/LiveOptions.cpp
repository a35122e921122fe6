// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/LiveOptions.h"

#include <memory>

#include "orliq/sensors/Models.h"
#include "orliq/terminal/Verb.h"
#include "orliq/verbs/params/UploadOptions.h"

namespace orliq::cli {
namespace {

/// All that the file says of each of its sensors.
constexpr CommandLine::Names kOfOneSensor = {
    "--model",       "--check-folder", "--transform",     "--min-distance",     "--max-distance",
    "--min-azimuth", "--max-azimuth",  "--min-elevation", "--max-elevation",    "--port",
    "--address",     "--source",       "--params-from",   "--params-local-port"};

/// Which sensors are meant.
void RequireSensors(const CommandLine& command, const LiveOptions& options) {
  if (!options.config.empty()) command.RequireNoneOf(kOfOneSensor);
  if (options.config.empty() && (options.cloud.model.empty() || options.listen.port == 0)) {
    throw Failure(ExitCode::kUsage,
                  "name one sensor with --model and --port, or several with --config");
  }
  RequireUpload(options.params_from, options.upload, !options.config.empty());
}

void AddChoiceOptions(CommandLine& command, FrameChoice& choice) {
  command.Add("--frames", choice.frames, "stop after that many frames").Within(1.0, 1e9);
  command.AddFlag("--partial", choice.partial,
                  "count and write the first frame too, of which the beginning is missing");
  AddSourceOption(command, choice.source);
  AddSocketBufferOption(command, choice.socket_buffer);
}

void AddConfigOption(CommandLine& command, std::string& config) {
  command
      .Add("--config", config,
           "file that describes several sensors, instead of the options of one; their frames "
           "become one cloud")
      .NotEmpty();
  for (const char* const option : {"--model", "--port"}) {
    command.Get(option).Required(false);
  }
}

}  // namespace

Verb AddLive(Program& program) {
  const auto options = std::make_shared<LiveOptions>();
  CommandLine command = program.AddVerb(
      "live", "Decodes the packets of a live sensor, or of several, and writes frames as clouds.");
  AddCloudOptions(command, options->cloud);
  AddListenOptions(command, options->listen);
  AddChoiceOptions(command, options->choice);
  AddUploadOptions(command, options->params_from, options->upload);
  AddConfigOption(command, options->config);
  command.Footer(
      ModelTable() +
      "\nIt runs until a limit, Ctrl-C or SIGTERM and then prints its table. Frames are counted "
      "from 0, which is the partial one, and their files are named after that.\n\n"
      "With --config, fused clouds are what --frames, --partial and --out mean, and --wait is for "
      "a packet of every sensor.\n\n"
      "Example:\n"
      "  orliq live --model juniq --port 2368 --check-folder room-check --frames 50 \\\n"
      "      --out frames --format pcd\n"
      "  orliq live --config sensors.yaml --frames 50 --out fused");
  return {command, [command, options](Console& console) {
            RequireSensors(command, *options);
            options->choice.lenient = options->upload.lenient;
            return RunLive(*options, console);
          }};
}

}  // namespace orliq::cli
