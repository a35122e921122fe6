// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orliq/clouds/LiveSource.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {

/// Sums of listening to a live sensor, and its closing table.
struct LiveTally {
  const Model* model = nullptr;
  Reception reception;
  LiveCounts counts;
  std::string files;  ///< what was written where; or empty
  std::uint64_t files_written = 0;
  std::string source;  ///< the only sender that counts; empty: every one
  bool keeps_partial = false;
  bool interrupted = false;                         ///< a signal ended it, not a limit
  std::vector<lidar::RefusedTable> refused_tables;  ///< that the sensor did not send as needed

  /// Whether packets were refused or lost, or frames not written.
  bool HasLosses() const;

  /// Whether the sensor was asked for its tables and they have not come.
  bool LacksTables() const;
  Report MakeReport() const;
};

/// "192.168.1.200:2368"; "none" for nobody.
std::string SenderText(const lidar::PacketSender& sender);

/// Who sends to the port at once and what to do about it.
std::string MixedSendersText(const lidar::DriverStatistics& packets);

/// The status line: packets, frames, points of a frame, IMU samples, age of the last packet,
/// and losses as far as there are any, refused packets by their codes; rates since `before`,
/// `seconds` ago.
std::string LiveStatusText(const LiveCounts& before, const LiveCounts& now, double seconds);

}  // namespace orliq::cli
