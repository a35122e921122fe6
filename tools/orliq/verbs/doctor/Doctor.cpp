// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/DoctorOptions.h"

#include <unistd.h>

#include <memory>
#include <optional>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/config/SensorFile.h"
#include "orliq/config/SensorPlace.h"
#include "orliq/config/YamlTree.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/doctor/Diagnosis.h"
#include "orliq/verbs/doctor/DoctorReport.h"
#include "orliq/verbs/params/UploadOptions.h"

namespace orliq::cli {
namespace {

ConfiguredSensor OneSensor(const DoctorOptions& options) {
  ConfiguredSensor sensor;
  if (!options.model.empty()) sensor.model = &KnownModel(options.model);
  sensor.port = options.port;
  sensor.address = options.address;
  sensor.source = options.source;
  sensor.check_folder = options.check_folder;
  if (options.params_from) {
    sensor.params_from = ParseHostPort("--params-from", *options.params_from);
  }
  sensor.params_local_port = options.upload.local_port;
  return sensor;
}

std::vector<ConfiguredSensor> SensorsOf(const DoctorOptions& options) {
  if (options.config.empty()) return {OneSensor(options)};
  const SensorFile file = ReadSensorFile(options.config);
  for (const ConfiguredSensor& sensor : file.sensors) {
    if (sensor.IsLive()) continue;
    throw FailureAt(file.path, sensor.line,
                    sensor.name + " plays a capture: orliq info reads those");
  }
  return file.sensors;
}

DiagnosedExamination Diagnose(const Examination& examination,
                              const std::vector<ConfiguredSensor>& sensors,
                              const Console& console) {
  DiagnosedExamination all = {examination, {}, {}, {}, InterruptRequested()};
  bool silent = false;
  for (std::size_t i = 0; i < sensors.size(); ++i) {
    const std::string& name = sensors[i].name;
    const Remarks remarks = name.empty() ? Remarks(console) : Remarks(console, name);
    const Case subject = {examination.sensors[i], examination.machine, remarks};
    all.names.push_back(name);
    all.sensors.push_back(DiagnoseSensor(subject));
    silent = silent || subject.Arrived() == 0;
  }
  all.machine = DiagnoseMachine(examination.machine, silent);
  return all;
}

}  // namespace

ExitCode RunDoctor(const DoctorOptions& options, Console& console) {
  console.SetQuiet(options.quiet);
  const std::vector<ConfiguredSensor> sensors = SensorsOf(options);
  CatchInterrupts();
  for (const ConfiguredSensor& sensor : sensors) {
    console.Note("listening on " + EndpointText(sensor.address, *sensor.port) +
                 (sensor.name.empty() ? "" : " (" + sensor.name + ')') + " for " +
                 Fixed(options.seconds, 1) + " s");
  }
  const Examination examination = Examine(sensors, options.seconds, options.upload.lenient);
  const DiagnosedExamination all = Diagnose(examination, sensors, console);
  console.Print(all.MakeReport(::isatty(STDOUT_FILENO) == 1));
  return all.Code();
}

}  // namespace orliq::cli
