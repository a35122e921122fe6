// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "orliq/config/SensorFile.h"
#include "orliq/dds/DdsOutlet.h"
#include "orliq/ros/RosFeed.h"
#include "orliq/terminal/Console.h"
#include "orliq/verbs/FoxgloveOptions.h"

namespace orliq::cli {

/// Where clouds and samples are published, and how.
struct PublishOptions {
  RosStamp stamp = RosStamp::kPackets;
  std::string base = kRobotFrame;  ///< frame of the robot
  bool dds = true;
  bool reliable = false;  ///< over DDS
  FoxgloveOptions foxglove;
};

/// The sensors of this process in ROS 2, as long as it lives: each in a frame of its own, which stands in
/// that of the robot as its extrinsics say.
class BridgeSite {
 public:
  /// Says where. Throws Failure when a road cannot be had, and for two sensors of one topic.
  BridgeSite(const PublishOptions& options, const std::vector<ConfiguredSensor>& sensors,
             const Console& console);

  /// Takes what that sensor delivers, in its own frame.
  CloudTaker& Of(std::size_t sensor) { return feed_->Of(sensor); }

  void Tell(const std::vector<RosStatus>& statuses) { feed_->Tell(statuses); }

  /// Publishes what waits, when no sensor delivers any more.
  void Finish() { feed_->Finish(); }
  RosFeed::Sums Read(std::size_t sensor) const { return feed_->Read(sensor); }

  /// What viewers got; nothing where none may connect.
  std::optional<FoxgloveOutlet::Sums> ReadViewers() const;

  /// Messages that a road did not take.
  std::uint64_t Refused() const;

  /// "/front/points"
  const std::string& TopicOf(std::size_t sensor) const { return topics_[sensor]; }

 private:
  std::vector<std::string> topics_;
  std::unique_ptr<DdsOutlet> dds_;            // null: none
  std::unique_ptr<FoxgloveOutlet> foxglove_;  // likewise
  std::unique_ptr<RosFeed> feed_;             // last, so that it ends first
};

}  // namespace orliq::cli
