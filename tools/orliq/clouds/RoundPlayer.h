// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "driver/FusedCloud.h"
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
  explicit RoundPlayer(std::vector<FramesWanted> sensors) : sensors_(std::move(sensors)) {
    for (const FramesWanted& sensor : sensors_) {
      players_.push_back(std::make_unique<FramePlayer<Cloud>>(*sensor.model));
    }
  }

  /// Waits until the captures are indexed; false when it was interrupted.
  bool Open() {
    for (std::size_t i = 0; i < sensors_.size(); ++i) {
      const FramesWanted& sensor = sensors_[i];
      const std::string& capture = sensor.param.input_param.pcap_file;
      if (!players_[i]->Open(sensor.param, sensor.source)) {
        Fail(sensor, "the driver cannot open " + capture);
      }
      const int found = players_[i]->WaitForIndex();
      if (players_[i]->Ended()) return false;
      if (found <= sensor.entries.back()) {
        Fail(sensor, capture + " has changed: the driver finds fewer frames than before");
      }
    }
    return true;
  }

  /// Of the shortest capture.
  std::size_t Rounds() const {
    std::size_t rounds = sensors_.front().entries.size();
    for (const FramesWanted& sensor : sensors_) rounds = std::min(rounds, sensor.entries.size());
    return rounds;
  }

  /// The cloud of that round, and of whose frames it is made in `parts`; null when it was interrupted.
  /// It has the time of the first sensor that tells one.
  std::shared_ptr<Cloud> Play(std::size_t round, std::vector<CloudPart>& parts) {
    auto cloud = std::make_shared<Cloud>();
    parts.clear();
    for (std::size_t i = 0; i < sensors_.size(); ++i) {
      const int entry = sensors_[i].entries[round];
      auto frame = PlayFrame(i, entry);
      if (!frame) return nullptr;
      parts.push_back({frame->points.size(), frame->timestamp, entry});
      if (sensors_.size() == 1) return frame;
      lidar::AppendFrame(*cloud, *frame, i);
      if (cloud->timestamp == 0.0) cloud->timestamp = frame->timestamp;
    }
    return cloud;
  }

  /// What the driver of that sensor made of its capture so far.
  lidar::DriverStatistics Statistics(std::size_t sensor) const {
    return players_[sensor]->Statistics();
  }

  /// Ends what waits, soon; from any thread.
  void Abandon() {
    for (const auto& player : players_) player->Abandon();
  }

 private:
  /// The clouds of a frame whose mark was lost are joined.
  std::shared_ptr<Cloud> PlayFrame(std::size_t sensor, int entry) {
    const FramesWanted& wanted = sensors_[sensor];
    const int ahead = entry == wanted.entries.front() ? wanted.ahead : entry - 1;
    std::shared_ptr<Cloud> joined;
    std::size_t clouds = 0;
    const auto take = [&](const typename FramePlayer<Cloud>::Frame& frame) {
      if (++clouds > FrameStream<Cloud>::kCloudsOfAFrame) {
        Fail(wanted, "frame " + std::to_string(entry) + " has no end: its marks are lost");
      }
      if (!joined) {
        joined = frame.cloud;
      } else {
        joined->points.insert(joined->points.end(), frame.cloud->points.begin(),
                              frame.cloud->points.end());
      }
    };
    return players_[sensor]->PlayRange(ahead, entry, entry + 1, take) ? joined : nullptr;
  }

  [[noreturn]] static void Fail(const FramesWanted& sensor, const std::string& what) {
    throw Failure(ExitCode::kFileFault, sensor.name + ": " + what);
  }

  std::vector<FramesWanted> sensors_;
  std::vector<std::unique_ptr<FramePlayer<Cloud>>> players_;  // of each
};

}  // namespace orliq::cli
