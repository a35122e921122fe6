// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/LiveOptions.h"

#include <memory>
#include <optional>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/UnusedSettings.h"
#include "orliq/terminal/Interrupt.h"
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

lidar::DriverParam MakeParam(const LiveOptions& options, const Model& model) {
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
void RequireFramesToCome(const LiveOptions& options, const Model& model) {
  if (model.delivers_frames || !options.choice.frames) return;
  throw Failure(ExitCode::kUsage, std::string(model.name) +
                                      " packets complete no frame, so --frames would never end: "
                                      "use --duration");
}

void RequirePorts(const LiveOptions& options, const Console& console) {
  RequirePort(options.listen.address, options.listen.port, console);
  const std::uint16_t port = options.upload.local_port;
  if (port == options.listen.port) {
    throw Failure(ExitCode::kUsage,
                  "--params-local-port must differ from --port, or replies and packets get mixed");
  }
  if (options.upload.Asks() && port != 0) RequirePort({}, port, console);
}

/// From --params-from, unless the model has no use for it.
UploadRequest MakeUpload(const LiveOptions& options, const Model& model, const Console& console) {
  UploadRequest request = options.upload;
  if (!options.params_from) return request;
  request.sensor = ParseHostPort("--params-from", *options.params_from);
  if (model.needs_tables) return request;
  RemarkOnUnusedCalibration(model, "params-from", console);
  return {};
}

LiveTally Listen(const LiveOptions& options, const Model& model, Console& console,
                 LiveAudience* audience) {
  const lidar::DriverParam param = MakeParam(options, model);
  if (!options.params_from) RequireCalibration(model, options.cloud.check_folder, console);
  RequirePorts(options, console);
  const auto saver =
      MakeLiveSaver(options.cloud.output, options.choice, SceneOf(model, param),
                    {{PacketTopicName({}), options.listen.address, options.listen.port}});
  if (options.cloud.output.verbose) console.ShowLibraryLines();
  const auto source =
      MakeLiveSource(options.cloud.output.point, options.choice, saver.get(), audience);
  const std::string where = EndpointText(options.listen.address, options.listen.port);
  if (!source->Open(param)) {
    throw Failure(ExitCode::kFileFault, "the driver cannot listen on " + where);
  }
  console.Announce("listening on " + where + ", Ctrl-C ends it");
  console.Note(NoPointsText(model));
  RemarkOnUnusedPose(model, param.decoder_param.transform_param, console);
  LiveWatcher watcher({options.listen, options.choice, options.upload, model}, *source, console,
                      audience);
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

void RequirePackets(const LiveOptions& options, const LiveTally& tally, const Console& console) {
  const auto& packets = tally.counts.packets;
  if (packets.decoded > 0) return;
  const LiveWishes wishes = {options.listen, options.choice, options.upload, *tally.model};
  const Silence silence = SilenceOf(wishes, packets, tally.reception.seconds);
  throw Failure(ExitCode::kNoData, WhyNothingArrived(silence, console));
}

ExitCode RunOne(LiveOptions options, Console& console, LiveAudience* audience) {
  const Model& model = KnownModel(options.cloud.model);
  RequireFramesToCome(options, model);
  options.upload = MakeUpload(options, model, console);
  CatchInterrupts();
  const LiveTally tally = Listen(options, model, console, audience);
  Report report = tally.MakeReport();
  if (audience != nullptr) audience->AddRows(report);
  console.Print(report);
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

}  // namespace

ExitCode RunLive(const LiveOptions& options, Console& console, LiveAudience* audience) {
  console.SetQuiet(options.listen.quiet);
  if (options.config.empty()) return RunOne(options, console, audience);
  return RunFusedLive(
      {options.config, options.cloud.output, options.listen, options.choice, audience}, console);
}

}  // namespace orliq::cli
