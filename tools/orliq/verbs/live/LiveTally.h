// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orliq/clouds/LiveSource.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/live/SensorRows.h"

namespace orliq::cli {

/// Sums of listening to a live sensor, and its closing table.
struct LiveTally {
  const Model* model = nullptr;
  Reception reception;
  LiveCounts counts;
  WrittenFiles files;
  std::string source;  ///< the only sender that counts; empty: every one
  bool keeps_partial = false;
  bool interrupted = false;                         ///< a signal ended it, not a limit
  std::vector<lidar::RefusedTable> refused_tables;  ///< that the sensor did not send as needed

  /// Whether packets were refused or lost, or frames not written.
  bool HasLosses() const;

  Report MakeReport() const;
};

/// The status line: packets, frames, points of a frame, IMU samples, age of the last packet,
/// and losses as far as there are any, refused packets by their codes; rates since `before`,
/// `seconds` ago.
std::string LiveStatusText(const LiveCounts& before, const LiveCounts& now, double seconds);

}  // namespace orliq::cli
