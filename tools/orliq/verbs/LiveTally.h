// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "orliq/clouds/CloudSaver.h"
#include "orliq/clouds/LiveSource.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {

/// Sums of listening to a live sensor, and its closing table.
struct LiveTally {
  Reception reception;
  LiveCounts counts;
  std::string files;  ///< what was written where; or empty
  std::uint64_t files_written = 0;
  CloudSaver::Losses not_written;

  /// Whether packets were refused or lost, or frames not written.
  bool HasLosses() const;
  Report MakeReport() const;
};

/// The line of a terminal: packets, frames, points of a frame, IMU samples, age of the last packet,
/// and losses by their codes as far as there are any; rates since `before`, `seconds` ago.
std::string LiveStatusText(const LiveCounts& before, const LiveCounts& now, double seconds);

}  // namespace orliq::cli
