// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "orliq/network/Transmission.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/verbs/simulate/ServedCalibration.h"
#include "simulator/sending/PacketFaults.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::cli {

constexpr std::uint64_t kFramesOfACapture = 20;  // if no number is asked for

/// What the user asks of `orliq simulate`.
struct SimulateOptions {
  std::string model;
  std::optional<std::string> config;  ///< file of several sensors, in place of one
  std::string scene = "boxes";
  std::optional<std::uint64_t> frames;  ///< none: until the user ends it
  std::optional<std::string> out;
  std::optional<std::string> check_folder;
  std::uint16_t port = 2368;  ///< of the capture's packets
  TransmissionOptions transmission;
  ServeOptions serve;
  sim::SensorOptions sensor;
  sim::PacketFaultRates faults;
  std::optional<std::size_t> cycle;    ///< none: the usual one
  std::optional<double> start_time_s;  ///< none: the usual one of captures, else the present
  bool no_radius_filter = false;
  bool force = false;  ///< replaces files that no simulation wrote
  bool quiet = false;
};

/// Does it. Throws Failure when it cannot.
ExitCode RunSimulate(const SimulateOptions& options, Console& console);

/// Fills in what follows from other options for one sensor. Throws Failure where they do not fit together.
void CompleteSimulateOptions(SimulateOptions& options);

/// Options for what the sensor lacks. Throws Failure where the user would not get what was asked for;
/// takes back, with a remark, what the sensor does not need, so that a script may name it for all.
void FitToSensor(SimulateOptions& options, const sim::Sensor& sensor, const Console& console);

/// Fills in what every sensor has; `live` if no capture is written.
void CompleteSensorOptions(SimulateOptions& options, bool live);

/// How long until this machine's clock shows the start time of a sensor that lives now: what it sends
/// then has the present time. 0 for one whose start time was chosen.
std::chrono::nanoseconds UntilStart(const SimulateOptions& options);

/// Whether a model has what some lack.
bool HasTrait(const std::string& model, bool sim::SensorTraits::*trait);

/// "juniq, glavor": the models that have it.
std::string ModelsWith(bool sim::SensorTraits::*trait);

}  // namespace orliq::cli
