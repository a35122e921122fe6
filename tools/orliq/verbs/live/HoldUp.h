// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "orliq/verbs/live/FusedCounts.h"

namespace orliq::cli {

/// Why a sensor has had no new frame for a while, so that no cloud is fused.
enum class HoldUp {
  kNone,
  kSilent,   ///< no packet of it has arrived
  kRefused,  ///< packets come, but no longer, or never, those of its model
  kNoFrame,  ///< its packets come, but end no frame
  kStalled,  ///< its packets came, and come no more
};

/// Finds that out from what is counted of the sensor.
class HoldUpWatch {
 public:
  static constexpr double kPatience = 3.0;  // [s] many frames of every model

  /// At the moment `now` [s]. The moments count from the start.
  HoldUp Look(const SensorCounts& counts, double now);

  /// For how long nothing has come [s]; behind a gap that has just ended, how long it was.
  double Gap() const { return gap_; }

 private:
  void NoteArrivals(const lidar::DriverStatistics& packets, double now);

  double received_ = 0.0;  // [s] when a packet of any kind last came
  double decoded_ = 0.0;   // when one of its model last came
  double frame_ = 0.0;     // when it last had a new frame, or began to send
  double gap_ = 0.0;
  std::uint64_t received_packets_ = 0;
  std::uint64_t decoded_packets_ = 0;
  std::uint64_t ended_ = 0;
};

}  // namespace orliq::cli
