// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "orliq/clouds/LiveSource.h"
#include "orliq/network/ListenOptions.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/StatusLine.h"
#include "orliq/verbs/Silence.h"
#include "orliq/verbs/live/LiveAudience.h"
#include "orliq/verbs/live/LiveTally.h"
#include "orliq/verbs/live/SensorRemarks.h"

namespace orliq::cli {

/// What of a user's wishes the remarks on a live sensor depend on.
struct LiveWishes {
  const ListenOptions& listen;
  const FrameChoice& choice;
  const UploadRequest& upload;
  const Model& model;
};

/// What is known of a sensor of which no packet could be decoded within `seconds`.
Silence SilenceOf(const LiveWishes& wishes, const lidar::DriverStatistics& packets, double seconds);

/// Gathers the counts of a source and times it from its first packet to its last. What the user can
/// mend it says once, as soon as it shows.
class LiveWatcher {
 public:
  /// All of them outlive this. `audience` may be null.
  LiveWatcher(const LiveWishes& wishes, const LiveSource& source, const Console& console,
              LiveAudience* audience);

  void Look();

  /// The last look, when the source has stopped.
  void Conclude();

  /// Brings the status line up to date.
  void Show();

  /// Without all of the sensor's tables no frame can come any more.
  bool Over() const {
    return source_.Complete() || !remarks_.RefusedTables().empty() ||
           time_.Over(counts_.packets.decoded > 0);
  }
  LiveTally Tally() const;

 private:
  void WarnOfNoFrame();
  std::string SilenceText() const;

  const LiveWishes wishes_;
  const Model& model_;
  const LiveSource& source_;
  const Console& console_;
  LiveAudience* const audience_;
  SensorRemarks remarks_;
  ListenTime time_;
  StatusLine line_;
  LiveCounts counts_;
  double now_ = 0.0;                 // [s] of `counts_`, as all times since the start
  double first_ = -1.0;              // of a packet; negative before any
  double last_ = -1.0;               // likewise
  std::uint64_t by_first_look_ = 0;  // packets
  LiveCounts shown_;
  double shown_at_ = 0.0;
};

}  // namespace orliq::cli
