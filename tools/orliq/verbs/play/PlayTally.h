// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "multi_driver/DriverStatistics.h"
#include "orliq/capture/CaptureSurvey.h"
#include "orliq/sensors/Models.h"
#include "orliq/sensors/SensorWords.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {

/// One cloud of a playback.
struct PlayedFrame {
  int frame = 0;
  int part = 0;          ///< above 0 for the further clouds of a frame whose mark was lost
  bool partial = false;  ///< of a frame that the capture does not hold whole
  double timestamp = 0.0;
  std::uint64_t points = 0;
  std::uint64_t non_zero = 0;
  double seconds = 0.0;
  std::string file;                           ///< empty when none was written
  std::optional<std::uint64_t> early_points;  ///< of them, that came in a cloud of their own ahead
};

/// What became of the packets in the frames `first` to before `last`.
struct PlayedPackets {
  std::uint64_t accepted = 0;
  RefusedPackets refused;
  LostRecords unreadable;

  bool AnyLost() const { return refused.length + refused.identifier > 0 || !unreadable.empty(); }
};
PlayedPackets FindPackets(const std::vector<FrameRecords>& frames, int first, int last);

/// What is wrong with those that were lost.
std::vector<std::string> LossRemarks(const PlayedPackets& packets, const SensorWords& words = {});

/// Sums of a playback and its closing table.
struct PlayTally {
  const Model* model = nullptr;
  std::uint64_t marks = 0;  ///< of frames, in the whole capture
  int entries = 0;          ///< of the whole capture
  int first = 0;            ///< first entry played
  int last = 0;             ///< behind the last entry that was to be played
  int done = 0;             ///< behind the last entry that was played
  bool interrupted = false;
  bool keep_partial = false;
  std::vector<PlayedFrame> frames;
  PlayedPackets packets;
  lidar::DriverStatistics counts;    ///< of the driver, for the frames that were played
  std::vector<std::string> senders;  ///< to the port that was played
  std::map<std::uint32_t, std::uint64_t> fault_reports;  ///< of the driver, by code
  std::string files;                                     ///< what was written where; or empty
  std::uint64_t files_written = 0;

  /// Whether the model measures, but nothing was measured: a remark, or empty.
  std::string Doubt() const;
  Report MakeReport() const;
};

}  // namespace orliq::cli
