// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/SourceOptions.h"

#include "orliq/config/YamlTree.h"
#include "orliq/sensors/Models.h"
#include "orliq/verbs/params/UploadOptions.h"

namespace orliq::cli {
namespace {

/// All that the file says of each of its sensors.
constexpr CommandLine::Names kOfOneSensor = {
    "CAPTURE",        "--model",       "--check-folder", "--transform",     "--min-distance",
    "--max-distance", "--min-azimuth", "--max-azimuth",  "--min-elevation", "--max-elevation",
    "--port",         "--address",     "--source",       "--params-from",   "--params-local-port"};

/// What makes sense for packets that come, and not for those of a file.
constexpr CommandLine::Names kOfLiveSensors = {
    "--address", "--params-from", "--params-local-port", "--socket-buffer", "--duration", "--wait"};

void RequireNoneOfLive(const CommandLine& command) {
  for (const char* const option : kOfLiveSensors) {
    if (!command.Has(option)) continue;
    throw Failure(ExitCode::kUsage,
                  std::string(option) + " is for a live sensor, not for a capture");
  }
}

void RequireNames(const CommandLine& command, const SourceOptions& options) {
  const LiveOptions& live = options.live;
  if (!live.config.empty()) return command.RequireNoneOf(kOfOneSensor);
  if (live.cloud.model.empty() || (options.capture.empty() && !options.port)) {
    throw Failure(ExitCode::kUsage,
                  "name a capture and its --model, or a live sensor with --model and --port, or "
                  "several sensors with --config");
  }
  if (!options.capture.empty()) return RequireNoneOfLive(command);
  RequireUpload(live.params_from, live.upload, false);
  if (*options.port == 0)
    throw Failure(ExitCode::kUsage, "a live sensor sends to a --port from 1 to 65535");
}

}  // namespace

void AddSourceOptions(CommandLine& command, SourceOptions& options, const std::string& does) {
  LiveOptions& live = options.live;
  live.cloud.output.point = "point-time";
  live.listen.wait = 0.0;
  command.Add("CAPTURE", options.capture, "capture file to " + does + ", pcap or pcapng")
      .NotEmpty();
  AddDecodingOptions(command, live.cloud);
  command.Get("--model").Required(false);
  AddPointOptions(command, live.cloud.output);
  command
      .Add("--port", options.port,
           "UDP port that the sensor sends to; of a capture the one whose packets fit the model "
           "without it, and 0 takes every port")
      .Within(0, 65535);
  AddSourceOption(command, live.choice.source);
  command.AddFlag("--partial", options.partial,
                  does + " what precedes the first whole frame and what follows the last, too");
  command
      .Add("--config", live.config,
           "file that describes several sensors, instead of the options of one")
      .NotEmpty();
}

void AddLiveSourceOptions(CommandLine& command, LiveOptions& live) {
  AddListenAddress(command, live.listen.address);
  AddSocketBufferOption(command, live.choice.socket_buffer);
  AddUploadOptions(command, live.params_from, live.upload);
  AddListenTimes(command, live.listen);
  command.AddFlag("--json", "report as JSON, in the end");
  command.AddFlag("--quiet", live.listen.quiet, "no status line, no remarks");
}

void RequireSource(const CommandLine& command, SourceOptions& options) {
  RequireNames(command, options);
  LiveOptions& live = options.live;
  live.listen.port = options.port.value_or(0);
  live.choice.lenient = live.upload.lenient;
  live.choice.partial = options.partial;
}

bool AreLive(const SensorFile& file, const LiveOptions& live, const std::string& done) {
  const bool are = file.sensors.front().IsLive();
  for (const ConfiguredSensor& sensor : file.sensors) {
    if (sensor.IsLive() == are) continue;
    throw FailureAt(file.path, sensor.line,
                    sensor.name + ": live sensors and captures cannot be " + done + " together");
  }
  const bool plain = !live.listen.duration && live.listen.wait == 0.0;
  if (are || (plain && live.choice.socket_buffer == 0)) return are;
  throw Failure(ExitCode::kUsage,
                "--duration, --wait and --socket-buffer are for live sensors, and " + file.path +
                    " describes captures");
}

}  // namespace orliq::cli
