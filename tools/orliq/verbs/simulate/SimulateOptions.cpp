// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/simulate/SimulateOptions.h"

#include <algorithm>
#include <chrono>

#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/OptionChecks.h"
#include "simulator/scene/Scene.h"

namespace orliq::cli {
namespace {

constexpr std::uint64_t kFramesOfACapture = 20;
constexpr double kLatestStart = 2.1e9;  // [s] the times of a capture end in the year 2038

double Now() {
  const auto since_1970 = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(since_1970).count();
}

/// "juniq, glavor": the models that have it.
std::string ModelsWith(bool sim::SensorTraits::*trait) {
  std::string names;
  for (const std::string& name : sim::SensorNames(trait)) {
    names += (names.empty() ? "" : ", ") + name;
  }
  return names;
}

/// For the help.
std::string OnlyFor(bool sim::SensorTraits::*trait) {
  return " (only " + ModelsWith(trait) + ')';
}

void AddFaults(CLI::App& command, SimulateOptions& options) {
  const std::string beams = OnlyFor(&sim::SensorTraits::beams);
  const std::string group = "Faults (shares are 0 to 1; a packet suffers the first that hits it)";
  const auto share = [&](const char* name, double& rate, const std::string& text) {
    command.add_option(name, rate, text)->check(Within(0.0, 1.0))->group(group);
  };
  const auto packets = [&](const char* name, sim::PacketFault fault, const char* text) {
    share(name, options.faults[fault], text);
  };
  auto& sensor = options.sensor.faults;
  command.add_option("--noise", sensor.range_noise_m, "standard deviation of ranges [m]" + beams)
      ->check(Within(0.0, 10.0))
      ->group(group);
  share("--false-returns", sensor.false_return_rate, "share of beams" + beams);
  packets("--drop", sim::PacketFault::kLost, "share of packets lost");
  packets("--wrong-length", sim::PacketFault::kWrongLength, "share of packets cut or lengthened");
  packets("--wrong-identifier", sim::PacketFault::kWrongIdentifier,
          "share of packets with a damaged identifier");
  packets("--duplicate", sim::PacketFault::kDuplicated, "share of packets that come twice");
  packets("--swap", sim::PacketFault::kSwapped, "share of packets that the next one overtakes");
  packets("--foreign", sim::PacketFault::kForeign,
          "packets of another device to the same port, as a share of the sensor's");
  command
      .add_flag(
          "--no-radius-filter", options.no_radius_filter,
          "calibration leaves isolated returns in" + OnlyFor(&sim::SensorTraits::radius_filter))
      ->group(group);
}

/// Keeps an empty name apart from none.
CLI::Option* AddName(CLI::App& command, const char* option, std::optional<std::string>& name,
                     const std::string& text) {
  return command.add_option_function<std::string>(
      option, [&name](const std::string& given) { name = given; }, text);
}

void RequireNames(const SimulateOptions& options) {
  if (options.out && options.out->empty()) {
    throw Failure(ExitCode::kFileFault, "--out: an empty name is no file");
  }
  if (options.check_folder && options.check_folder->empty()) {
    throw Failure(ExitCode::kFileFault, "--check-folder: an empty name is no folder");
  }
}

bool AsksForPackets(const SimulateOptions& options) {
  const SimulateOptions usual;
  const auto& faults = options.faults.values;
  const sim::Faults& sensor = options.sensor.faults;
  return options.frames || options.start_time_s || options.scene != usual.scene ||
         options.sensor.frame_rate_hz != usual.sensor.frame_rate_hz || sensor.range_noise_m > 0.0 ||
         sensor.false_return_rate > 0.0 ||
         std::any_of(faults.begin(), faults.end(), [](double rate) { return rate > 0.0; });
}

/// Neither a capture nor a receiver is named.
void RequireOnlyServing(const SimulateOptions& options) {
  if (!options.serve.at) {
    throw Failure(ExitCode::kUsage,
                  "where shall the packets go? Name a file with --out or a receiver with --to, or "
                  "only hand out the calibration with --serve-params");
  }
  if (!AsksForPackets(options)) return;
  throw Failure(
      ExitCode::kUsage,
      "--frames, --rate, --scene, --start-time, --noise and the faults of packets ask for "
      "packets, but none are sent: name --out or --to; the faults of replies have options "
      "of their own, such as --drop-replies");
}

/// The packets would come to the sensor's own port as requests that are none.
void RequireTwoPorts(const SimulateOptions& options) {
  if (!options.serve.at || options.transmission.to.empty()) return;
  const HostPort served = ServedAt(options.serve);
  const HostPort to = ParseHostPort("--to", options.transmission.to);
  const bool own = to.address.rfind("127.", 0) == 0 && served.address == "0.0.0.0";
  if (to.port != served.port || (to.address != served.address && !own)) return;
  throw Failure(ExitCode::kUsage, "--to and --serve-params name the same port: " + to.text +
                                      " cannot both receive the packets and hand out the "
                                      "calibration");
}

void RequireUsableFolder(const SimulateOptions& options) {
  if (options.out && !options.check_folder && !options.serve.at) {
    throw Failure(ExitCode::kUsage,
                  "--out needs --check-folder: without its calibration a capture has no points");
  }
  if (options.check_folder) RequireNoTableWord("--check-folder", *options.check_folder);
}

}  // namespace

void AddSimulateOptions(CLI::App& command, SimulateOptions& options) {
  command.add_option("--model", options.model, "sensor model")
      ->required()
      ->transform(LowerCase())
      ->check(CLI::IsMember(sim::SensorNames()));
  command.add_option("--scene", options.scene, "surroundings of the sensor")
      ->check(CLI::IsMember(sim::SceneNames()))
      ->capture_default_str();
  command
      .add_option("--frames", options.frames,
                  "frames to simulate; without it 20 for --out alone, with --to until Ctrl-C")
      ->check(Within(1, 1000000));
  CLI::Option* const out = AddName(command, "--out", options.out, "capture file to write");
  AddName(command, "--check-folder", options.check_folder,
          std::string("folder to write the sensor's calibration to, which play and live read; ") +
              "--out needs one, or --serve-params" + OnlyFor(&sim::SensorTraits::check_folder));
  command.add_flag("--force", options.force,
                   "let --out and --check-folder replace what no simulation wrote");
  command.add_option("--rate", options.sensor.frame_rate_hz, "frames per second [Hz]")
      ->check(Within(0.1, 1000.0))
      ->capture_default_str();
  command
      .add_option("--cycle", options.cycle,
                  "packets for each azimuth, 2 if not given" + OnlyFor(&sim::SensorTraits::cycle))
      ->check(CLI::IsMember({2, 4}));
  command.add_option("--seed", options.sensor.seed, "chooses the individual sensor and all chance")
      ->check(WholeNumber())
      ->capture_default_str();
  command
      .add_option("--start-time", options.start_time_s,
                  "[s] since 1970 UTC, of the first frame; without it now for --to alone, always "
                  "the same with --out")
      ->check(Within(0.0, kLatestStart));
  command.add_option("--port", options.port, "destination port in the capture")
      ->check(Within(1, 65535))
      ->capture_default_str()
      ->needs(out);
  command.add_flag("--json", "report as JSON");
  command.add_flag("--quiet", options.quiet, "no progress bar, no remarks");
  AddTransmissionOptions(command, options.transmission);
  AddFaults(command, options);
  AddServeOptions(command, options.serve, OnlyFor(&sim::SensorTraits::check_folder));
}

void CompleteSimulateOptions(SimulateOptions& options) {
  const bool sends = !options.transmission.to.empty();
  RequireNames(options);
  if (!options.out && !sends) RequireOnlyServing(options);
  RequireTwoPorts(options);
  if (!options.frames && !sends) options.frames = kFramesOfACapture;
  options.sensor.cycle_packets = options.cycle.value_or(options.sensor.cycle_packets);
  options.sensor.radius_filter = !options.no_radius_filter;
  // A capture is to be the same each time; a sensor that is received lives now.
  if (!options.out) options.sensor.start_time_s = Now();
  if (options.start_time_s) options.sensor.start_time_s = *options.start_time_s;
}

void FitToSensor(SimulateOptions& options, const sim::Sensor& sensor, const Console& console) {
  const sim::Faults& faults = options.sensor.faults;
  if (!sensor.HasBeams() && (faults.range_noise_m > 0.0 || faults.false_return_rate > 0.0)) {
    throw Failure(ExitCode::kUsage,
                  "the simulated " + options.model +
                      " measures no ranges: --noise and --false-returns are for " +
                      ModelsWith(&sim::SensorTraits::beams));
  }
  if (!sensor.HasCycle() && options.cycle) {
    throw Failure(ExitCode::kUsage, options.model + " has but one cycle: --cycle is for " +
                                        ModelsWith(&sim::SensorTraits::cycle));
  }
  if (options.no_radius_filter && !sensor.HasRadiusFilter()) {
    console.Note(options.model + " has no radius filter: --no-radius-filter changes nothing");
  }
  if (sensor.HasCheckFolder()) return RequireUsableFolder(options);
  if (options.serve.at) {
    throw Failure(ExitCode::kUsage, options.model +
                                        " has no calibration to hand out: --serve-params is for " +
                                        ModelsWith(&sim::SensorTraits::check_folder));
  }
  if (options.check_folder) {
    console.Note(options.model + " has no calibration: nothing is written to --check-folder");
    options.check_folder.reset();
  }
}

}  // namespace orliq::cli
