// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "orliq/clouds/CloudTaker.h"
#include "orliq/clouds/FramePlayer.h"
#include "orliq/clouds/FrameStream.h"

namespace orliq::cli {

/// Plays several captures in any order of their frames: round k is the k-th wanted frame of each, put
/// together as the library does for live sensors. One capture is a round of one.
///
/// Threads: belongs to one, but for Abandon. Failure: Open and Play throw Failure.
template <typename Cloud>
class RoundPlayer {
 public:
  /// At least one sensor.
  explicit RoundPlayer(std::vector<FramesWanted> sensors);

  /// Waits until the captures are indexed; false when it was interrupted.
  bool Open();

  /// Of the shortest capture.
  std::size_t Rounds() const;

  /// The cloud of that round, and of whose frames it is made in `parts`; null when it was interrupted.
  /// It has the time of the first sensor that tells one.
  std::shared_ptr<Cloud> Play(std::size_t round, std::vector<CloudPart>& parts);

  /// What the driver of that sensor made of its capture so far.
  lidar::DriverStatistics Statistics(std::size_t sensor) const;

  /// Ends what waits, soon; from any thread.
  void Abandon();

 private:
  /// The clouds of a frame whose mark was lost are joined.
  std::shared_ptr<Cloud> PlayFrame(std::size_t sensor, int entry);

  [[noreturn]] static void Fail(const FramesWanted& sensor, const std::string& what);

  std::vector<FramesWanted> sensors_;
  std::vector<std::unique_ptr<FramePlayer<Cloud>>> players_;  // of each
};

}  // namespace orliq::cli
