// SPDX-License-Identifier: Apache-2.0
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
#include "orliq/terminal/OptionChecks.h"
#include "orliq/terminal/Verb.h"
#include "orliq/verbs/doctor/Diagnosis.h"
#include "orliq/verbs/doctor/DoctorReport.h"
#include "orliq/verbs/params/UploadOptions.h"

namespace orliq::cli {
namespace {

struct Options {
  std::string model;
  std::optional<std::string> check_folder;
  std::uint16_t port = 0;
  std::string address;
  std::string source;
  std::optional<std::string> params_from;
  UploadRequest upload;
  std::string config;  ///< of several sensors; empty: of one, by the options above
  double seconds = 5.0;
  bool quiet = false;
};

constexpr const char* kOfOneSensor[] = {
    "--model",       "--check-folder",     "--port", "--address", "--source",
    "--params-from", "--params-local-port"};

void RequireSensors(const CLI::App& command, const Options& options) {
  for (const char* const option : kOfOneSensor) {
    if (options.config.empty() || command.count(option) == 0) continue;
    throw Failure(ExitCode::kUsage, OfOneSensor(option));
  }
  if (options.config.empty() && options.port == 0) {
    throw Failure(ExitCode::kUsage, "name one sensor with --port, or several with --config");
  }
  if (options.upload.local_port != 0 && !options.params_from) {
    throw Failure(ExitCode::kUsage, "--params-local-port needs --params-from");
  }
  if (options.upload.lenient && options.config.empty() && !options.params_from) {
    throw Failure(ExitCode::kUsage, "--lenient needs --params-from or --config");
  }
}

ConfiguredSensor OneSensor(const Options& options) {
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

std::vector<ConfiguredSensor> SensorsOf(const Options& options) {
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

ExitCode Run(const CLI::App& command, const Options& options, Console& console) {
  RequireSensors(command, options);
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

void AddOptions(CLI::App& command, Options& options) {
  AddPortOptions(command, options.port, options.address);
  AddModelOptions(command, options.model, options.check_folder);
  AddSourceOption(command, options.source);
  AddUploadOptions(command, options.params_from, options.upload);
  command
      .add_option("--config", options.config,
                  "file that describes several sensors, instead of the options of one")
      ->check(NotEmpty());
  command.add_option("--seconds", options.seconds, "[s] to listen")
      ->check(Within(0.5, 3600.0))
      ->capture_default_str();
  command.add_flag("--json", "report as JSON");
  command.add_flag("--quiet", options.quiet, "no remarks");
  for (const char* const option : {"--model", "--port"}) {
    command.get_option(option)->required(false);
  }
}

}  // namespace

Verb AddDoctor(CLI::App& app) {
  const auto options = std::make_shared<Options>();
  CLI::App* const command = app.add_subcommand(
      "doctor", "Listens to a live sensor and says what is wrong, and what to do about it.");
  AddOptions(*command, *options);
  command->footer(
      "It receives as an application would. With the right CAP_NET_RAW it also looks at packets "
      "that "
      "reach this machine but not the program, such as those for another port. It sends nothing "
      "but "
      "what --params-from asks of the sensor.\n\n"
      "Exit code 0: nothing wrong found; 3: no packet of the sensor came; 4: the port cannot be "
      "had; "
      "5: any other problem.\n\n"
      "Example:\n"
      "  orliq doctor --port 2368\n"
      "  orliq doctor --port 2368 --model juniq --check-folder room-check\n"
      "  orliq doctor --config sensors.yaml");
  return {command,
          [command, options](Console& console) { return Run(*command, *options, console); }};
}

}  // namespace orliq::cli
