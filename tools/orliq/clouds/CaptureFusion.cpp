// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CaptureFusion.h"

#include <utility>

#include "driver/FusedCloud.h"

namespace orliq::cli {

template <typename Cloud>
CaptureFusion<Cloud>::CaptureFusion(std::vector<FramesWanted> sensors) {
  for (auto& sensor : sensors) {
    origins_.push_back(OriginOf(sensor.param));
    streams_.push_back(std::make_unique<FrameStream<Cloud>>(std::move(sensor)));
  }
}

template <typename Cloud>
CaptureFusion<Cloud>::~CaptureFusion() {
  Abandon();
}

template <typename Cloud>
bool CaptureFusion<Cloud>::Next(Cloud& cloud, std::vector<FusedShare>& shares) {
  frames_.clear();
  for (const auto& stream : streams_) {
    auto frame = stream->Next();
    if (!frame) return false;
    frames_.push_back(std::move(*frame));
  }
  Fill(cloud, shares);
  frames_.clear();
  return true;
}

template <typename Cloud>
std::vector<lidar::DriverStatistics> CaptureFusion<Cloud>::Statistics() {
  Abandon();
  std::vector<lidar::DriverStatistics> statistics;
  for (const auto& stream : streams_) statistics.push_back(stream->Statistics());
  return statistics;
}

template <typename Cloud>
void CaptureFusion<Cloud>::Abandon() {
  for (const auto& stream : streams_) stream->Abandon();
}

template <typename Cloud>
void CaptureFusion<Cloud>::Fill(Cloud& cloud, std::vector<FusedShare>& shares) const {
  std::size_t points = 0;
  for (const auto& frame : frames_) points += frame.cloud->points.size();
  cloud = Cloud();
  cloud.points.reserve(points);
  shares.clear();
  for (std::size_t sensor = 0; sensor < frames_.size(); ++sensor) {
    const auto& [entry, of_frame] = frames_[sensor];
    lidar::AppendFrame(cloud, *of_frame, sensor);
    shares.push_back({entry, of_frame->points.size(), CountNonZero(*of_frame, origins_[sensor]),
                      of_frame->timestamp});
    if (cloud.timestamp == 0.0) cloud.timestamp = of_frame->timestamp;
  }
}

#define ORLIQ_INSTANTIATE(Cloud) template class CaptureFusion<Cloud>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::cli
