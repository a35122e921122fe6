// SPDX-License-Identifier: Apache-2.0
#include <memory>
#include <optional>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/UnusedSettings.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/Verb.h"
#include "orliq/verbs/Silence.h"
#include "orliq/verbs/live/FusedLive.h"
#include "orliq/verbs/live/LiveFiles.h"
#include "orliq/verbs/live/LiveTally.h"
#include "orliq/verbs/live/LiveWatcher.h"
#include "orliq/verbs/live/Watching.h"
#include "orliq/verbs/params/UploadOptions.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {
namespace {

struct Options {
  CloudOptions cloud;
  ListenOptions listen;
  FrameChoice choice;
  std::optional<std::string> params_from;
  UploadRequest upload;
  std::string config;  ///< of several sensors; empty: of one, by the options above
};

lidar::DriverParam MakeParam(const Options& options, const Model& model) {
  lidar::DriverParam param = MakeDriverParam(options.cloud, model);
  if (options.upload.Asks()) {
    param.param_source = 1;
    param.calibration_param = MakeCalibrationParam(options.upload);
  }
  param.input_type = lidar::InputType::Socket;
  param.input_param.local_ip = options.listen.address;
  param.input_param.port = options.listen.port;
  return param;
}

/// Waiting for a frame that never comes would have no end.
void RequireFramesToCome(const Options& options, const Model& model) {
  if (model.delivers_frames || !options.choice.frames) return;
  throw Failure(ExitCode::kUsage, std::string(model.name) +
                                      " packets complete no frame, so --frames would never end: "
                                      "use --duration");
}

void RequirePorts(const Options& options, const Console& console) {
  RequirePort(options.listen.address, options.listen.port, console);
  const std::uint16_t port = options.upload.local_port;
  if (port == options.listen.port) {
    throw Failure(ExitCode::kUsage,
                  "--params-local-port must differ from --port, or replies and packets get mixed");
  }
  if (options.upload.Asks() && port != 0) RequirePort({}, port, console);
}

/// From --params-from, unless the model has no use for it.
UploadRequest MakeUpload(const Options& options, const Model& model, const Console& console) {
  UploadRequest request = options.upload;
  if (!options.params_from) return request;
  request.sensor = ParseHostPort("--params-from", *options.params_from);
  if (model.needs_tables) return request;
  RemarkOnUnusedCalibration(model, "params-from", console);
  return {};
}

std::unique_ptr<LiveSource> MakeSource(const Options& options, CloudSaver* saver) {
  return WithCloudType(options.cloud.output.point, [&](auto type) {
    using Source = DriverSource<typename decltype(type)::Cloud>;
    return std::unique_ptr<LiveSource>(std::make_unique<Source>(options.choice, saver));
  });
}

LiveTally Listen(const Options& options, const Model& model, Console& console) {
  const lidar::DriverParam param = MakeParam(options, model);
  if (!options.params_from) RequireCalibration(model, options.cloud.check_folder, console);
  RequirePorts(options, console);
  const auto saver = MakeLiveSaver(options.cloud.output, options.choice, CloudSaver::kRoom);
  if (options.cloud.output.verbose) console.ShowLibraryLines();
  const auto source = MakeSource(options, saver.get());
  const std::string where = EndpointText(options.listen.address, options.listen.port);
  if (!source->Open(param)) {
    throw Failure(ExitCode::kFileFault, "the driver cannot listen on " + where);
  }
  console.Note("listening on " + where + ", Ctrl-C ends it");
  console.Note(NoPointsText(model));
  RemarkOnUnusedPose(model, param.decoder_param.transform_param, console);
  LiveWatcher watcher({options.listen, options.choice, options.upload, model}, *source, console);
  LiveTally tally = WatchUntilOver(watcher, *source);
  tally.model = &model;
  tally.source = options.choice.source;
  tally.keeps_partial = options.choice.partial;
  tally.reception.listened_on = where;
  if (saver) {
    CloudSaver::Losses& losses = tally.counts.not_written;
    tally.files = FinishFiles(*saver, options.cloud.output.out, losses, console);
  }
  return tally;
}

void RequirePackets(const Options& options, const LiveTally& tally, const Console& console) {
  const auto& packets = tally.counts.packets;
  if (packets.decoded > 0) return;
  throw Failure(
      ExitCode::kNoData,
      WhyNothingArrived(
          {options.listen.address, options.listen.port, tally.reception.seconds, tally.model,
           packets.received, packets.refused_length, packets.last_refused_length,
           options.choice.source, packets.other_source, SenderText(packets.first_sender)},
          console));
}

ExitCode RunOne(Options options, Console& console) {
  const Model& model = KnownModel(options.cloud.model);
  RequireFramesToCome(options, model);
  options.upload = MakeUpload(options, model, console);
  CatchInterrupts();
  const LiveTally tally = Listen(options, model, console);
  console.Print(tally.MakeReport());
  if (!tally.refused_tables.empty()) {
    throw MissingTables(model, tally.refused_tables, "no frame was decoded with them");
  }
  RequirePackets(options, tally, console);
  ExplainLosses(tally.counts.packets, options.choice.socket_buffer, console);
  if (LacksTables(tally.counts.packets)) {
    throw UploadFailure(options.upload, tally.counts.packets.upload, tally.reception.seconds,
                        "live ended, no frame was decoded with it");
  }
  return tally.HasLosses() ? ExitCode::kLosses : ExitCode::kDone;
}

/// All that the file says of each of its sensors.
constexpr const char* kOfOneSensor[] = {
    "--model",       "--check-folder", "--transform",     "--min-distance",     "--max-distance",
    "--min-azimuth", "--max-azimuth",  "--min-elevation", "--max-elevation",    "--port",
    "--address",     "--source",       "--params-from",   "--params-local-port"};

/// Which sensors are meant.
void RequireSensors(const CLI::App& command, const Options& options) {
  for (const char* const option : kOfOneSensor) {
    if (options.config.empty() || command.count(option) == 0) continue;
    throw Failure(ExitCode::kUsage, OfOneSensor(option));
  }
  if (options.config.empty() && (options.cloud.model.empty() || options.listen.port == 0)) {
    throw Failure(ExitCode::kUsage,
                  "name one sensor with --model and --port, or several with --config");
  }
  if (options.upload.local_port != 0 && !options.params_from) {
    throw Failure(ExitCode::kUsage, "--params-local-port needs --params-from");
  }
  if (options.upload.lenient && options.config.empty() && !options.params_from) {
    throw Failure(ExitCode::kUsage, "--lenient needs --params-from or --config");
  }
}

ExitCode Run(const CLI::App& command, Options options, Console& console) {
  RequireSensors(command, options);
  console.SetQuiet(options.listen.quiet);
  options.choice.lenient = options.upload.lenient;
  if (options.config.empty()) return RunOne(options, console);
  return RunFusedLive({options.config, options.cloud.output, options.listen, options.choice},
                      console);
}

void AddChoiceOptions(CLI::App& command, FrameChoice& choice) {
  command.add_option("--frames", choice.frames, "stop after that many frames")
      ->check(Within(1.0, 1e9));
  command.add_flag("--partial", choice.partial,
                   "count and write the first frame too, of which the beginning is missing");
  AddSourceOption(command, choice.source);
  command
      .add_option("--socket-buffer", choice.socket_buffer,
                  "[bytes] receive buffer to ask of the system for each sensor; 16 MiB without it")
      ->check(Within(1, 1 << 30));
}

void AddConfigOption(CLI::App& command, std::string& config) {
  command
      .add_option("--config", config,
                  "file that describes several sensors, instead of the options of one; their "
                  "frames become one cloud")
      ->check(NotEmpty());
  for (const char* const option : {"--model", "--port"}) {
    command.get_option(option)->required(false);
  }
}

}  // namespace

Verb AddLive(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand(
      "live", "Decodes the packets of a live sensor, or of several, and writes frames as clouds.");
  AddCloudOptions(*command, options->cloud);
  AddListenOptions(*command, options->listen);
  AddChoiceOptions(*command, options->choice);
  AddUploadOptions(*command, options->params_from, options->upload);
  AddConfigOption(*command, options->config);
  command->footer(
      ModelTable() +
      "\nIt runs until a limit, Ctrl-C or SIGTERM and then prints its table. Frames are counted "
      "from 0, which is the partial one, and their files are named after that.\n\n"
      "With --config, fused clouds are what --frames, --partial and --out mean, and --wait is for "
      "a packet of every sensor.\n\n"
      "Example:\n"
      "  orliq live --model juniq --port 2368 --check-folder room-check --frames 50 \\\n"
      "      --out frames --format pcd\n"
      "  orliq live --config sensors.yaml --frames 50 --out fused");
  return {command,
          [command, options](Console& console) { return Run(*command, *options, console); }};
}

}  // namespace orliq::cli
