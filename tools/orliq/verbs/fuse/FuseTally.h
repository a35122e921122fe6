// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "orliq/clouds/CaptureFusion.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/Ledger.h"
#include "orliq/verbs/fuse/FusePlan.h"
#include "orliq/verbs/play/PlayTally.h"

namespace orliq::cli {

/// One fused cloud.
struct FusedCloud {
  int round = 0;
  std::string file;  ///< empty when none was written
  std::vector<FusedShare> sensors;

  std::uint64_t Points() const;
  std::uint64_t NonZero() const;

  /// [s] from the oldest frame in it to the latest; nothing when fewer than two tell their time.
  std::optional<double> Apart() const;
};

/// Sums of a fusion and its closing table.
struct FuseTally {
  const FusePlan* plan = nullptr;
  std::vector<FusedCloud> clouds;               ///< at least one
  std::vector<lidar::DriverStatistics> counts;  ///< of each sensor's driver
  bool interrupted = false;
  std::string files;  ///< what was written where; or empty
  std::uint64_t files_written = 0;

  /// What became of the packets of a sensor, in the part of its capture that was fused.
  PlayedPackets Packets(std::size_t sensor) const;
  Ledger LedgerOf(std::size_t sensor) const;
  bool AnyLost() const;
  Report MakeReport() const;
};

/// What the table means, and what the user may want to know beside it; some may be empty.
std::vector<std::string> FuseRemarks(const FuseTally& tally);

}  // namespace orliq::cli
