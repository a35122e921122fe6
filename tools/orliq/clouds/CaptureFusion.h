// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "orliq/clouds/CloudView.h"
#include "orliq/clouds/FrameStream.h"

namespace orliq::cli {

/// One sensor's frame in a fused cloud.
struct FusedShare {
  int frame = 0;  ///< entry of its capture
  std::uint64_t points = 0;
  std::uint64_t non_zero = 0;  ///< of them, with a return inside the limits
  double timestamp = 0.0;      ///< [s] UTC, 0 of a sensor without time
};

/// Plays several captures at once and makes one cloud of a frame of each, the first sensor's points
/// first, as the library does for live sensors. The captures are played on threads of their own, which
/// end with this.
template <typename Cloud>
class CaptureFusion {
 public:
  explicit CaptureFusion(std::vector<FramesWanted> sensors);
  ~CaptureFusion();
  CaptureFusion(const CaptureFusion&) = delete;
  CaptureFusion& operator=(const CaptureFusion&) = delete;

  /// Fuses the next frame of each capture into `cloud`, in place of what it held, and tells of each in
  /// `shares`. False, with both undefined, when one has no frame left, and after an interrupt. Throws
  /// Failure as FrameStream does.
  bool Next(Cloud& cloud, std::vector<FusedShare>& shares);

  /// What the drivers made of the captures. Nothing can be fused any more.
  std::vector<lidar::DriverStatistics> Statistics();

 private:
  /// All of them before one is waited for.
  void Abandon();

  /// The cloud has the time of the first sensor that tells one.
  void Fill(Cloud& cloud, std::vector<FusedShare>& shares) const;

  std::vector<Origin> origins_;  // of the sensors
  std::vector<std::unique_ptr<FrameStream<Cloud>>> streams_;
  std::vector<typename FrameStream<Cloud>::Frame> frames_;  // of the round that is fused
};

}  // namespace orliq::cli
