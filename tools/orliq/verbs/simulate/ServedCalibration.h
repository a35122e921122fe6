// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "orliq/network/HostPort.h"
#include "orliq/terminal/CommandLine.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/Report.h"
#include "simulator/sending/ParamServer.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::cli {

/// Where a synthetic sensor hands out its calibration, and what goes wrong with it.
struct ServeOptions {
  std::optional<std::string> at;           ///< "PORT" or "HOST:PORT"; none: nowhere
  std::string setting = "--serve-params";  ///< what the user changes to have it elsewhere
  sim::ReplyFaultRates faults;
  double delay = 0.15;              ///< [s] of a delayed reply
  double silence = 1.0;             ///< [s]
  std::uint64_t restart_after = 0;  ///< replies; 0: no restart
  double down = 0.5;                ///< [s] during the restart
};

/// `only_for` tells in the help which models can.
void AddServeOptions(CommandLine& command, ServeOptions& options, const std::string& only_for);

/// Whether something is to go wrong.
bool AsksForReplyFaults(const ServeOptions& options);

/// Where `options` want it served. Throws Failure when the address makes no sense.
HostPort ServedAt(const ServeOptions& options);

/// The calibration of a synthetic sensor, handed out by UDP from its making on.
class ServedCalibration {
 public:
  /// Throws Failure as ServedAt does, and when the port cannot be had.
  ServedCalibration(const ServeOptions& options, const sim::Sensor& sensor, std::uint64_t seed,
                    const Console& console);

  /// Until the user ends it, with a status line.
  void WaitForInterrupt(const Console& console) const;

  /// "593 requests, 1 image served"
  std::string StatusText() const;

  /// Ends it, and tells what it did.
  void Finish(Report& report);

 private:
  HostPort where_;
  std::uint64_t image_bytes_ = 0;
  std::unique_ptr<sim::ParamServer> server_;
};

}  // namespace orliq::cli
