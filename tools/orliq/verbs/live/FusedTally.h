// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

#include "multi_driver/CalibrationStatus.h"
#include "orliq/config/SensorFile.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/live/FusedCounts.h"
#include "orliq/verbs/live/HoldUp.h"
#include "orliq/verbs/live/SensorRows.h"

namespace orliq::cli {

/// Sums of listening to several live sensors, and their closing table.
struct FusedTally {
  const SensorFile* file = nullptr;
  FusedCounts counts;  ///< of the sensors in the order of the file, as what follows
  std::vector<std::vector<lidar::RefusedTable>> refused_tables;
  WrittenFiles files;
  double seconds = 0.0;  ///< from the start
  bool keeps_partial = false;
  bool interrupted = false;  ///< a signal ended it, not a limit

  /// Whether packets were refused or lost, or clouds not written.
  bool HasLosses() const;
  Report MakeReport() const;
};

/// A moment of listening, for the status line.
struct FusedMoment {
  double at = 0.0;  ///< [s]
  FusedCounts counts;
  std::vector<HoldUp> hold_ups;  ///< of the sensors
};

/// The status line: clouds and their points, then each sensor with its frame rate or what is wrong
/// with it; rates since `before`. Beyond `width` columns those that are fine are only counted, and
/// if need be some of the others.
std::string FusedStatusText(const SensorFile& file, const FusedMoment& before,
                            const FusedMoment& now, std::size_t width);

}  // namespace orliq::cli
