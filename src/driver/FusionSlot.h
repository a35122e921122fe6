// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <memory>
#include <mutex>

#include "common/Wakeup.h"

namespace orliq::lidar {

/// Where one sensor's latest frame waits to be fused. `T` is a cloud.
///
/// Threads: PutPointCloud is called by the sensor's thread, the rest by the fusion thread.
template <typename T>
class FusionSlot {
 public:
  using Clock = std::chrono::steady_clock;

  /// A frame on its way into a round.
  struct Frame {
    std::shared_ptr<T> cloud;       ///< empty: there is none
    Clock::time_point arrived{};    ///< when the sensor had ended it
    std::uint64_t overwritten = 0;  ///< earlier ones that it has taken the place of
  };

  /// `arrival` is signalled for each frame.
  explicit FusionSlot(std::shared_ptr<Wakeup> arrival);

  /// The latest frame wins: one that still waits is dropped.
  void PutPointCloud(std::shared_ptr<T> cloud);

  /// Whether a frame waits that belongs to the next round.
  bool HasNewPointCloud() const;

  /// Takes the waiting frame for this round; none, when this round has had its frame.
  Frame GetEnablePointCloud();

  /// The round is over.
  void ResetFusionState() { taken_ = false; }

 private:
  const std::shared_ptr<Wakeup> arrival_;
  std::atomic<bool> taken_{false};  // this round has had the frame
  mutable std::mutex mutex_;
  Frame pending_;  // guarded by mutex_
};

}  // namespace orliq::lidar
