// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/FusedLive.h"

#include <algorithm>
#include <memory>
#include <vector>

#include "orliq/clouds/CloudTypes.h"
#include "orliq/config/SensorPlace.h"
#include "orliq/config/YamlTree.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/UnusedSettings.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/live/FusedSilence.h"
#include "orliq/verbs/live/FusedWatcher.h"
#include "orliq/verbs/live/LiveFiles.h"
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

/// Calibration as the driver will find it; settings without effect are remarked on and dropped.
void RequireCalibration(ConfiguredSensor& sensor, const Remarks& remarks) {
  const Model& model = *sensor.model;
  if (!sensor.params_from) {
    RequireCalibration(model, sensor.check_folder, remarks);
  } else if (!model.needs_tables) {
    RemarkOnUnusedCalibration(model, "params-from", remarks);
    sensor.params_from.reset();
  }
}

void RequirePorts(const ConfiguredSensor& sensor, const Remarks& remarks) {
  RequirePort(sensor.address, *sensor.port, remarks);
  if (sensor.params_from && sensor.params_local_port != 0) {
    RequirePort({}, sensor.params_local_port, remarks);
  }
}

void Require(SensorFile& file, const Console& console) {
  RequireLiveFrames(file);
  for (ConfiguredSensor& sensor : file.sensors) {
    const Remarks remarks(console, sensor.name);
    At(PlaceOf(file.path, sensor), [&] {
      RequireCalibration(sensor, remarks);
      RequirePorts(sensor, remarks);
    });
  }
}

/// What the models of the sensors cannot give.
void TellOfModels(const SensorFile& file, const Console& console) {
  for (const ConfiguredSensor& sensor : file.sensors) {
    const Remarks remarks(console, sensor.name);
    remarks.Note(NoPointsText(*sensor.model));
    RemarkOnUnusedPose(*sensor.model, sensor.decoder.transform_param, remarks);
  }
}

std::string Where(const ConfiguredSensor& sensor) {
  return EndpointText(sensor.address, *sensor.port) + " (" + sensor.name + ')';
}

/// A line when two fit in one, else one for each.
std::string ListeningText(const SensorFile& file) {
  const bool few = file.sensors.size() <= 2;
  std::string all;
  for (const ConfiguredSensor& sensor : file.sensors) {
    if (!few) all += "\n  ";
    all += (few && !all.empty() ? ", " : "") + Where(sensor);
  }
  if (few) return "listening on " + all + ", Ctrl-C ends it";
  return "listening on " + std::to_string(file.sensors.size()) + " ports, Ctrl-C ends it:" + all;
}

void Open(FusedSource& source, const SensorFile& file, const Console& console) {
  if (!source.Open()) {
    const std::size_t failed = source.Opened();
    throw Failure(ExitCode::kFileFault,
                  failed < file.sensors.size()
                      ? "the driver cannot listen on " + Where(file.sensors[failed])
                      : "the driver cannot start: the system has no thread left");
  }
  console.Note(ListeningText(file));
  TellOfModels(file, console);
}

std::unique_ptr<FusedSource> MakeSource(const FusedOptions& options, const SensorFile& file,
                                        CloudSaver* saver) {
  return WithCloudType(options.output.point, [&](auto type) {
    using Source = MultiDriverSource<typename decltype(type)::Cloud>;
    return std::unique_ptr<FusedSource>(
        std::make_unique<Source>(file.sensors, options.choice, saver));
  });
}

FusedTally Listen(const FusedOptions& options, const SensorFile& file, const Console& console) {
  const std::size_t room = CloudSaver::RoomFor(file.sensors.size());
  const auto saver = MakeLiveSaver(options.output, options.choice, room);
  if (options.output.verbose) Console::ShowLibraryLines();
  const auto source = MakeSource(options, file, saver.get());
  Open(*source, file, console);
  FusedWatcher watcher(file, options.listen, options.choice.lenient, *source, console);
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

/// What the losses of all sensors mean.
void Explain(const FusedTally& tally, std::uint32_t socket_buffer, const Console& console) {
  lidar::DriverStatistics all;
  for (const SensorCounts& sensor : tally.counts.sensors) {
    all.dropped_by_kernel += sensor.packets.dropped_by_kernel;
    all.refused_length += sensor.packets.refused_length;
    all.refused_identifier += sensor.packets.refused_identifier;
    all.socket_buffer_bytes = sensor.packets.socket_buffer_bytes;  // the same for each
  }
  ExplainLosses(all, socket_buffer, console);
}

}  // namespace

ExitCode RunFusedLive(const FusedOptions& options, Console& console) {
  SensorFile file = ReadSensorFile(options.config);
  CatchInterrupts();
  Require(file, console);
  const FusedTally tally = Listen(options, file, console);
  console.Print(tally.MakeReport());
  RequireTables(tally);
  RequirePackets(tally, console);
  Explain(tally, options.choice.socket_buffer, console);
  RequireUploads(tally, options.choice.lenient);
  return tally.HasLosses() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace orliq::cli
