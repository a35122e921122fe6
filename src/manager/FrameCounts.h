// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <utility>

#include "common/Counter.h"
#include "decoder/Decoder.h"
#include "manager/ApplicationCallbacks.h"
#include "multi_driver/DriverStatistics.h"

namespace orliq::lidar {

/// Counts the frames that a manager hands out. Begin and End belong to the decoding thread, Count to
/// any.
class FrameCounts {
 public:
  /// Frames of fewer returns are short, but not one without any, as behind the last mark of a capture;
  /// 0: none is.
  void SetWholeFrame(std::uint64_t returns) { whole_frame_ = returns; }

  /// What has been decoded so far belongs to no frame any more, but for the last `own` returns.
  template <typename T>
  void Begin(const Decoder<T>& decoder, std::uint64_t own) {
    returns_before_ = decoder.Counts().returns.Value() - own;
  }

  /// A frame is over, and its cloud about to be handed over.
  template <typename T>
  void End(const Decoder<T>& decoder, const ApplicationCallbacks<T>& callbacks) {
    const std::uint64_t returns = decoder.Counts().returns.Value();
    const std::uint64_t own = returns - std::exchange(returns_before_, returns);
    if (own > 0 && own < whole_frame_) short_frames_.Add();
    const auto& cloud = decoder.CurrentCloud();
    if (!cloud || !callbacks.HasConsumer()) return;
    frames_.Add();
    points_.Add(cloud->points.size());
  }

  /// Stores these counts and those of the decoder: against the way of a packet, so that none exceeds
  /// the one that it is a part of.
  template <typename T>
  void Count(const Decoder<T>& decoder, DriverStatistics& statistics) const {
    const auto& counts = decoder.Counts();
    statistics.points = points_.Value();
    statistics.frames = frames_.Value();
    statistics.short_frames = short_frames_.Value();
    statistics.filtered = counts.filtered.Value();
    statistics.gated = counts.gated.Value();
    statistics.returns = counts.returns.Value();
    statistics.skipped_packets = counts.skipped.Value();
    statistics.refused_identifier = counts.refused_identifier.Value();
    statistics.refused_length = counts.refused_length.Value();
    statistics.last_refused_length = counts.last_refused_length.Value();
    statistics.decoded = counts.decoded.Value();
  }

 private:
  Counter frames_, points_, short_frames_;
  std::uint64_t whole_frame_ = 0;     // returns
  std::uint64_t returns_before_ = 0;  // those of the frames that have ended
};

}  // namespace orliq::lidar
