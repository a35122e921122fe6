// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "orliq/clouds/LiveSource.h"
#include "orliq/config/SensorFile.h"
#include "orliq/ros/RosMessages.h"
#include "orliq/verbs/Ledger.h"

namespace orliq::cli {

/// What is known of a sensor at two moments.
struct BridgeMoments {
  LiveCounts before;
  LiveCounts now;
  double seconds = 0.0;  ///< between them
  std::string silence;   ///< why nothing comes; empty: something does
  std::string refusal;   ///< why none of its clouds is published; empty: they are
};

/// What became of its packets.
Ledger LedgerOf(const ConfiguredSensor& sensor, const LiveCounts& counts);

/// How it is, for /diagnostics: an error while nothing comes or can be published, a warning while packets
/// are lost or its tables are not there. With the ledger as values, and who publishes it where.
RosStatus StatusOf(const ConfiguredSensor& sensor, const std::string& topic,
                   const BridgeMoments& moments);

/// What the name of each such state begins with: "orliq bridge: front".
constexpr char kBridgeState[] = "orliq bridge: ";

}  // namespace orliq::cli
