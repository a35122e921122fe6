// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "orliq/ros/RosFeed.h"
#include "orliq/verbs/FoxgloveOptions.h"
#include "orliq/verbs/Ledger.h"
#include "orliq/verbs/view/ViewHub.h"
#include "orliq/verbs/view/ViewTexts.h"

namespace orliq::cli {

/// What the pages are shown, as messages of ROS 2 for viewers of Foxglove's protocol: of each sensor its
/// part of the cloud. The points are in the frame of the robot, where the extrinsics have put them; those of a
/// model whose points the driver does not move are in its own. Of a capture a viewer that joins gets the latest
/// cloud at once, as it may rest.
///
/// Threads: as of RosFeed; nothing waits for a viewer.
class ViewFoxglove : public ViewGuests {
 public:
  /// Lets viewers in, and says where. Throws Failure when the port cannot be had, for two sensors of one topic,
  /// and in a program without the messages.
  ViewFoxglove(const FoxgloveOptions& options, const ViewedSource& source);

  void Show(const TakenCloud& cloud) override;
  bool Any() const override { return outlet_->Read().viewers > 0; }

  /// A sample of the only sensor, which is live.
  void Take(const lidar::ImuMsg& sample) { feed_->Of(0).Take(sample); }

  /// How the sensors are. `silence` says why nothing comes of one of them; empty: all send.
  void Tell(const std::vector<NamedLedger>& sensors, const std::string& silence);

  void AddRows(Report& report) const { AddFoxgloveRows(report, outlet_->Read()); }

 private:
  std::unique_ptr<FoxgloveOutlet> outlet_;
  std::unique_ptr<RosFeed> feed_;  // last, so that it ends first
};

}  // namespace orliq::cli
