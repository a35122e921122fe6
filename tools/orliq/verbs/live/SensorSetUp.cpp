// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/SensorSetUp.h"

#include "orliq/config/SensorPlace.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/sensors/CheckFolder.h"
#include "orliq/sensors/UnusedSettings.h"
#include "orliq/verbs/live/SensorRemarks.h"
#include "orliq/verbs/live/SensorRows.h"

namespace orliq::cli {
namespace {

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

}  // namespace

Remarks RemarksOn(const SensorFile& file, const ConfiguredSensor& sensor, const Console& console) {
  return file.path.empty() ? Remarks(console) : Remarks(console, sensor.name);
}

void RequireSensors(SensorFile& file, const Console& console) {
  for (ConfiguredSensor& sensor : file.sensors) {
    const Remarks remarks = RemarksOn(file, sensor, console);
    At(file.path.empty() ? "" : PlaceOf(file.path, sensor), [&] {
      RequireCalibration(sensor, remarks);
      RequirePorts(sensor, remarks);
    });
  }
}

void TellOfModels(const SensorFile& file, const Console& console) {
  for (const ConfiguredSensor& sensor : file.sensors) {
    const Remarks remarks = RemarksOn(file, sensor, console);
    remarks.Note(NoPointsText(*sensor.model));
    RemarkOnUnusedPose(*sensor.model, sensor.decoder.transform_param, remarks);
  }
}

std::string WhereText(const ConfiguredSensor& sensor) {
  return EndpointText(sensor.address, *sensor.port) + " (" + sensor.name + ')';
}

std::string ListeningText(const SensorFile& file) {
  const bool few = file.sensors.size() <= 2;
  std::string all;
  for (const ConfiguredSensor& sensor : file.sensors) {
    if (!few) all += "\n  ";
    all += (few && !all.empty() ? ", " : "") + WhereText(sensor);
  }
  if (few) return "listening on " + all + ", Ctrl-C ends it";
  return "listening on " + std::to_string(file.sensors.size()) + " ports, Ctrl-C ends it:" + all;
}

UploadRequest RequestOf(const ConfiguredSensor& sensor, bool lenient) {
  UploadRequest request;
  if (sensor.params_from) request = {*sensor.params_from, sensor.params_local_port, lenient};
  return request;
}

Silence SilenceOf(const ConfiguredSensor& sensor, const lidar::DriverStatistics& packets,
                  double seconds) {
  return {sensor.address,
          sensor.port.value_or(0),
          seconds,
          sensor.model,
          packets.received,
          packets.refused_length,
          packets.last_refused_length,
          sensor.source,
          packets.other_source,
          SenderText(packets.first_sender)};
}

void ExplainLosses(const std::vector<lidar::DriverStatistics>& sensors, std::uint32_t socket_buffer,
                   const Console& console) {
  lidar::DriverStatistics all;
  for (const lidar::DriverStatistics& packets : sensors) {
    all.dropped_by_kernel += packets.dropped_by_kernel;
    all.refused_length += packets.refused_length;
    all.refused_identifier += packets.refused_identifier;
    all.socket_buffer_bytes = packets.socket_buffer_bytes;  // the same for each
  }
  ExplainLosses(all, socket_buffer, console);
}

}  // namespace orliq::cli
