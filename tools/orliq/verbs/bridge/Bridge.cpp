// SPDX-License-Identifier: Apache-2.0
#include <utility>

#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/bridge/BridgeCapture.h"
#include "orliq/verbs/bridge/BridgeList.h"
#include "orliq/verbs/bridge/BridgeLive.h"
#include "orliq/verbs/bridge/BridgeOptions.h"

namespace orliq::cli {
namespace {

/// The sensor of the command line, as a file would describe it.
SensorFile OnlySensor(const BridgeOptions& options) {
  const LiveOptions& live = options.live;
  const Model& model = KnownModel(live.cloud.model);
  ConfiguredSensor sensor;
  sensor.name = options.name.empty() ? model.name : options.name;
  sensor.model = &model;
  sensor.capture = options.capture;
  sensor.port = options.port;
  sensor.address = live.listen.address;
  sensor.source = live.choice.source;
  sensor.check_folder = live.cloud.check_folder;
  if (live.params_from) sensor.params_from = ParseHostPort("--params-from", *live.params_from);
  sensor.params_local_port = live.upload.local_port;
  sensor.decoder = MakeDriverParam(live.cloud, model).decoder_param;
  return {"", {std::move(sensor)}};
}

ExitCode PublishLive(const BridgeOptions& options, SensorFile file, Console& console) {
  if (!options.loop) return BridgeLive(options, std::move(file), console);
  throw Failure(ExitCode::kUsage, "--loop is for a capture, which has an end");
}

}  // namespace

ExitCode RunBridge(const BridgeOptions& options, Console& console) {
  CatchInterrupts();
  console.SetQuiet(options.live.listen.quiet);
  if (options.list) return ListBridges(options.live.listen.duration, console);
  RequireFoxglovePort(options.publish.foxglove);
  if (!options.capture.empty()) return BridgeCapture(options, OnlySensor(options), console);
  if (options.live.config.empty()) return PublishLive(options, OnlySensor(options), console);
  SensorFile file = ReadSensorFile(options.live.config);
  if (AreLive(file, options.live, "published"))
    return PublishLive(options, std::move(file), console);
  return BridgeCaptures(options, file, console);
}

}  // namespace orliq::cli
