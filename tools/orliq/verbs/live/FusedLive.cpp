// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/FusedLive.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "orliq/config/SensorPlace.h"
#include "orliq/config/YamlTree.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/live/FusedSilence.h"
#include "orliq/verbs/live/FusedWatcher.h"
#include "orliq/verbs/live/LiveFiles.h"
#include "orliq/verbs/live/SensorSetUp.h"
#include "orliq/verbs/live/Watching.h"

namespace orliq::cli {
namespace {

/// One sensor without frames would hold up all clouds for ever.
void RequireLiveFrames(const SensorFile& file) {
  for (const ConfiguredSensor& sensor : file.sensors) {
    if (!sensor.IsLive()) {
      throw FailureAt(file.path, sensor.line,
                      sensor.name + " plays a capture: orliq fuse takes those");
    }
    if (!sensor.model->delivers_frames) {
      throw FailureAt(file.path, sensor.line,
                      sensor.name + ": " + sensor.model->name +
                          " packets complete no frame, so no cloud could ever be fused with them");
    }
  }
}

void Open(FusedSource& source, const SensorFile& file, const Console& console) {
  if (!source.Open()) {
    const std::size_t failed = source.Opened();
    throw Failure(ExitCode::kFileFault,
                  failed < file.sensors.size()
                      ? "the driver cannot listen on " + WhereText(file.sensors[failed])
                      : "the driver cannot start: the system has no thread left");
  }
  console.Announce(ListeningText(file));
  TellOfModels(file, console);
}

FusedTally Listen(const FusedOptions& options, const SensorFile& file, const Console& console) {
  std::vector<lidar::DriverParam> params;
  std::vector<LivePackets> packets;
  for (const ConfiguredSensor& sensor : file.sensors) {
    params.push_back(MakeDriverParam(sensor));
    packets.push_back({PacketTopicName(sensor.name), sensor.address, *sensor.port});
  }
  const auto saver = MakeLiveSaver(options.output, options.choice, FusedScene(params), packets);
  if (options.output.verbose) Console::ShowLibraryLines();
  const auto source = MakeFusedSource(options.output.point, file.sensors, options.choice,
                                      saver.get(), options.audience);
  Open(*source, file, console);
  FusedWatcher watcher(file, {options.listen, options.choice.lenient, options.audience}, *source,
                       console);
  FusedTally tally = WatchUntilOver(watcher, *source);
  tally.keeps_partial = options.choice.partial;
  if (saver) {
    CloudSaver::Losses& losses = tally.counts.not_written;
    tally.files = FinishFiles(*saver, options.output.out, losses, console);
  }
  return tally;
}

void RequireTables(const FusedTally& tally) {
  for (std::size_t i = 0; i < tally.refused_tables.size(); ++i) {
    if (tally.refused_tables[i].empty()) continue;
    const ConfiguredSensor& sensor = tally.file->sensors[i];
    At(sensor.name + ": ", [&] {
      throw MissingTables(*sensor.model, tally.refused_tables[i], "no cloud holds frames of it");
    });
  }
}

void RequirePackets(const FusedTally& tally, const Console& console) {
  std::vector<std::size_t> silent;
  for (std::size_t i = 0; i < tally.counts.sensors.size(); ++i) {
    if (tally.counts.sensors[i].packets.decoded == 0) silent.push_back(i);
  }
  if (silent.empty()) return;
  std::string text;
  for (const std::string& paragraph :
       WhyNothingArrived(*tally.file, tally.counts, tally.seconds, silent, console)) {
    text += (text.empty() ? "" : "\n") + paragraph;
  }
  throw Failure(ExitCode::kNoData, text);
}

void RequireUploads(const FusedTally& tally, bool lenient) {
  for (std::size_t i = 0; i < tally.counts.sensors.size(); ++i) {
    const ConfiguredSensor& sensor = tally.file->sensors[i];
    const lidar::DriverStatistics& packets = tally.counts.sensors[i].packets;
    if (!LacksTables(packets)) continue;
    At(sensor.name + ": ", [&] {
      throw UploadFailure(RequestOf(sensor, lenient), packets.upload, tally.seconds,
                          "live ended, no cloud holds frames decoded with it");
    });
  }
}

}  // namespace

ExitCode RunFusedLive(const FusedOptions& options, Console& console) {
  SensorFile file = ReadSensorFile(options.config);
  CatchInterrupts();
  RequireLiveFrames(file);
  RequireSensors(file, console);
  const FusedTally tally = Listen(options, file, console);
  Report report = tally.MakeReport();
  if (options.audience != nullptr) options.audience->AddRows(report);
  console.Print(report);
  RequireTables(tally);
  RequirePackets(tally, console);
  std::vector<lidar::DriverStatistics> packets;
  for (const SensorCounts& sensor : tally.counts.sensors) packets.push_back(sensor.packets);
  ExplainLosses(packets, options.choice.socket_buffer, console);
  RequireUploads(tally, options.choice.lenient);
  return tally.HasLosses() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace orliq::cli
