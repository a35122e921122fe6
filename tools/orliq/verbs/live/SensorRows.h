// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "multi_driver/DriverStatistics.h"
#include "orliq/clouds/CloudSaver.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/Report.h"

// Rows on a live sensor and its files: for one alone, and as JSON for each of several.
namespace orliq::cli {

/// "192.168.1.200:2368"; "none" for nobody.
std::string SenderText(const lidar::PacketSender& sender);

/// Who sent; `source` is the only sender that counts, empty: every one.
void AddSenderRows(Report& report, const lidar::DriverStatistics& packets,
                   const std::string& source);

/// Packets refused, lost and waiting. What of it the ledger tells people as well is for JSON only.
void AddLossRows(Report& report, const lidar::DriverStatistics& packets);

/// How the sensor's clock stands to this machine's, in words and numbers.
void AddClockRow(Report& report, const Model& model, const lidar::ClockStatistics& clock);

/// Whether packets were refused or lost.
bool HasLosses(const lidar::DriverStatistics& packets);

/// Whether the sensor was asked for its tables and they have not come.
bool LacksTables(const lidar::DriverStatistics& packets);

/// What was written where.
struct WrittenFiles {
  std::string text;  ///< empty: nothing was asked for
  std::uint64_t count = 0;
};

/// `of` says what a file holds, if not a frame.
void AddFileRows(Report& report, const WrittenFiles& files, const CloudSaver::Losses& not_written,
                 const std::string& of = "frame");

}  // namespace orliq::cli
