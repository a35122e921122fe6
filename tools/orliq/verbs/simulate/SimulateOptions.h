// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

#include "orliq/network/Transmission.h"
#include "orliq/terminal/Console.h"
#include "orliq/verbs/simulate/ServedCalibration.h"
#include "simulator/sending/PacketFaults.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::cli {

/// What the user asks of `orliq simulate`.
struct SimulateOptions {
  std::string model;
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

void AddSimulateOptions(CLI::App& command, SimulateOptions& options);

/// Fills in what follows from other options. Throws Failure where they do not fit together.
void CompleteSimulateOptions(SimulateOptions& options);

/// Options for what the sensor lacks. Throws Failure where the user would not get what was asked for;
/// takes back, with a remark, what the sensor does not need, so that a script may name it for all.
void FitToSensor(SimulateOptions& options, const sim::Sensor& sensor, const Console& console);

}  // namespace orliq::cli
