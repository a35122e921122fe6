// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/doctor/DoctorOptions.h"

#include <memory>

#include "orliq/clouds/CloudOptions.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/terminal/Verb.h"
#include "orliq/verbs/params/UploadOptions.h"

namespace orliq::cli {
namespace {

constexpr CommandLine::Names kOfOneSensor = {
    "--model",       "--check-folder",     "--port", "--address", "--source",
    "--params-from", "--params-local-port"};

void RequireSensors(const CommandLine& command, const DoctorOptions& options) {
  if (!options.config.empty()) command.RequireNoneOf(kOfOneSensor);
  if (options.config.empty() && options.port == 0) {
    throw Failure(ExitCode::kUsage, "name one sensor with --port, or several with --config");
  }
  RequireUpload(options.params_from, options.upload, !options.config.empty());
}

void AddOptions(CommandLine& command, DoctorOptions& options) {
  AddPortOptions(command, options.port, options.address);
  AddModelOptions(command, options.model, options.check_folder);
  AddSourceOption(command, options.source);
  AddUploadOptions(command, options.params_from, options.upload);
  command
      .Add("--config", options.config,
           "file that describes several sensors, instead of the options of one")
      .NotEmpty();
  command.Add("--seconds", options.seconds, "[s] to listen").Within(0.5, 3600.0).ShowDefault();
  command.AddFlag("--json", "report as JSON");
  command.AddFlag("--quiet", options.quiet, "no remarks");
  for (const char* const option : {"--model", "--port"}) {
    command.Get(option).Required(false);
  }
}

}  // namespace

Verb AddDoctor(Program& program) {
  const auto options = std::make_shared<DoctorOptions>();
  CommandLine command = program.AddVerb(
      "doctor", "Listens to a live sensor and says what is wrong, and what to do about it.");
  AddOptions(command, *options);
  command.Footer(
      "It receives as an application would. With the right CAP_NET_RAW it also looks at packets "
      "that reach this machine but not the program, such as those for another port. It sends "
      "nothing but what --params-from asks of the sensor.\n\n"
      "Exit code 0: nothing wrong found; 3: no packet of the sensor came; 4: the port cannot be "
      "had; 5: any other problem.\n\n"
      "Example:\n"
      "  orliq doctor --port 2368\n"
      "  orliq doctor --port 2368 --model juniq --check-folder room-check\n"
      "  orliq doctor --config sensors.yaml");
  return {command, [command, options](Console& console) {
            RequireSensors(command, *options);
            return RunDoctor(*options, console);
          }};
}

}  // namespace orliq::cli
