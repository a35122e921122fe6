// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "orliq/clouds/LiveSource.h"
#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/bridge/BridgeSite.h"

namespace orliq::cli {

/// What became of a sensor.
struct BridgedSensor {
  const ConfiguredSensor* sensor = nullptr;
  std::string topic;
  LiveCounts counts;  ///< of a capture: of the frames that were played
  RosFeed::Sums published;
};

/// The closing table.
struct BridgeTally {
  double seconds = 0.0;
  bool interrupted = false;
  std::uint64_t refused = 0;                    ///< messages that a road did not take
  std::optional<FoxgloveOutlet::Sums> viewers;  ///< nothing: none may connect
  std::vector<BridgedSensor> sensors;

  /// Whether packets, clouds or messages were lost.
  bool HasLosses() const;
  Report MakeReport() const;
};

}  // namespace orliq::cli
