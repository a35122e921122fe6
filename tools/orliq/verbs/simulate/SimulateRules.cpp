// SPDX-License-Identifier: Apache-2.0
// How the options of the verb simulate go together.
#include <algorithm>
#include <chrono>

#include "orliq/sensors/CheckFolder.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/simulate/SimulateOptions.h"

namespace orliq::cli {
namespace {

constexpr double kReadyAfter = 0.5;  // [s] for the first frames of several sensors

double Now() {
  const auto since_1970 = std::chrono::system_clock::now().time_since_epoch();
  return std::chrono::duration<double>(since_1970).count();
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
    throw Failure(
        ExitCode::kUsage,
        std::string("--out needs --check-folder: without its calibration ") + kWithoutTables);
  }
  if (options.check_folder) RequireNoTableWord("--check-folder", *options.check_folder);
}

}  // namespace

void CompleteSimulateOptions(SimulateOptions& options) {
  const bool sends = !options.transmission.to.empty();
  RequireNames(options);
  if (!options.out && !sends) RequireOnlyServing(options);
  RequireTwoPorts(options);
  if (!options.frames && !sends) options.frames = kFramesOfACapture;
  CompleteSensorOptions(options, !options.out);
}

void CompleteSensorOptions(SimulateOptions& options, bool live) {
  options.sensor.cycle_packets = options.cycle.value_or(options.sensor.cycle_packets);
  options.sensor.radius_filter = !options.no_radius_filter;
  // A capture is to be the same each time; a sensor that is received lives now, once it is ready.
  if (live) options.sensor.start_time_s = Now() + kReadyAfter;
  if (options.start_time_s) options.sensor.start_time_s = *options.start_time_s;
}

std::chrono::nanoseconds UntilStart(const SimulateOptions& options) {
  if (options.start_time_s) return {};
  const double rest = std::clamp(options.sensor.start_time_s - Now(), 0.0, kReadyAfter);
  return std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::duration<double>(rest));
}

bool HasTrait(const std::string& model, bool sim::SensorTraits::*trait) {
  const auto names = sim::SensorNames(trait);
  return std::find(names.begin(), names.end(), model) != names.end();
}

std::string ModelsWith(bool sim::SensorTraits::*trait) {
  std::string names;
  for (const std::string& name : sim::SensorNames(trait)) {
    names += (names.empty() ? "" : ", ") + name;
  }
  return names;
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
