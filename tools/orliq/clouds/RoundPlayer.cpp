// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/RoundPlayer.h"

#include <algorithm>
#include <utility>

#include "driver/FusedCloud.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

template <typename Cloud>
RoundPlayer<Cloud>::RoundPlayer(std::vector<FramesWanted> sensors) : sensors_(std::move(sensors)) {
  for (const FramesWanted& sensor : sensors_) {
    players_.push_back(std::make_unique<FramePlayer<Cloud>>(*sensor.model));
  }
}

template <typename Cloud>
bool RoundPlayer<Cloud>::Open() {
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

template <typename Cloud>
std::size_t RoundPlayer<Cloud>::Rounds() const {
  std::size_t rounds = sensors_.front().entries.size();
  for (const FramesWanted& sensor : sensors_) rounds = std::min(rounds, sensor.entries.size());
  return rounds;
}

template <typename Cloud>
std::shared_ptr<Cloud> RoundPlayer<Cloud>::Play(std::size_t round, std::vector<CloudPart>& parts) {
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

template <typename Cloud>
lidar::DriverStatistics RoundPlayer<Cloud>::Statistics(std::size_t sensor) const {
  return players_[sensor]->Statistics();
}

template <typename Cloud>
void RoundPlayer<Cloud>::Abandon() {
  for (const auto& player : players_) player->Abandon();
}

template <typename Cloud>
std::shared_ptr<Cloud> RoundPlayer<Cloud>::PlayFrame(std::size_t sensor, int entry) {
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

template <typename Cloud>
void RoundPlayer<Cloud>::Fail(const FramesWanted& sensor, const std::string& what) {
  throw Failure(ExitCode::kFileFault, sensor.name + ": " + what);
}

#define ORLIQ_INSTANTIATE(Cloud) template class RoundPlayer<Cloud>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::cli
