// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/FusedCounts.h"

#include <algorithm>
#include <cmath>
#include <numeric>

namespace orliq::cli {
namespace {

std::uint64_t PointsOf(const lidar::FusionRound& round) {
  std::uint64_t points = 0;
  for (const lidar::FusedFrame& frame : round.sensors) points += frame.points;
  return points;
}

}  // namespace

void TimeSpread::Add(double seconds) {
  steps_.Add(static_cast<std::uint64_t>(std::llround(std::max(seconds, 0.0) * kPerSecond)));
}

void FusionCounter::Add(Kind kind, const lidar::FusionRound& round,
                        const std::vector<std::uint64_t>& non_zero) {
  const std::uint64_t points = PointsOf(round);
  if (kind == Kind::kCounts) {
    AddFrames(round, non_zero);
    clouds_.Add(points, std::accumulate(non_zero.begin(), non_zero.end(), std::uint64_t{0}));
  }
  const std::lock_guard lock(mutex_);
  counted_.last_skew_s = round.skew_s;
  for (std::size_t i = 0; i < sensors_.size(); ++i) {
    sensors_[i].ended += 1 + round.sensors[i].overwritten;
  }
  if (round.number == 1 && kind != Kind::kBeforeTables) counted_.partial_points = points;
  if (kind == Kind::kEmpty) ++counted_.empty_clouds;
  if (kind == Kind::kBeforeTables) ++counted_.clouds_before_tables;
  ++counted_.rounds;  // what is counted of them is there, for whoever has seen the round
}

void FusionCounter::AddFrames(const lidar::FusionRound& round,
                              const std::vector<std::uint64_t>& non_zero) {
  for (std::size_t i = 0; i < sensors_.size(); ++i) {
    if (round.sensors[i].points > 0) sensors_[i].frames.Add(round.sensors[i].points, non_zero[i]);
  }
  const std::lock_guard lock(mutex_);
  for (std::size_t i = 0; i < sensors_.size(); ++i) {
    const lidar::FusedFrame& frame = round.sensors[i];
    if (frame.points == 0) ++sensors_[i].empty_frames;
    sensors_[i].overwritten += frame.overwritten;
    sensors_[i].age.Add(frame.age_s);
  }
  skew_.Add(round.skew_s);
}

FusedCounts FusionCounter::Read() const {
  FusedCounts counts;
  {
    const std::lock_guard lock(mutex_);
    counts = counted_;
    counts.median_skew_s = skew_.Median();
    counts.max_skew_s = skew_.Max();
    for (const Sensor& sensor : sensors_) {
      SensorCounts& of_sensor = counts.sensors.emplace_back();
      of_sensor.empty_frames = sensor.empty_frames;
      of_sensor.overwritten = sensor.overwritten;
      of_sensor.ended = sensor.ended;
      of_sensor.median_age_s = sensor.age.Median();
      of_sensor.max_age_s = sensor.age.Max();
    }
  }
  for (std::size_t i = 0; i < sensors_.size(); ++i) {
    counts.sensors[i].frames = sensors_[i].frames.Sums();
  }
  counts.clouds = clouds_.Sums();
  return counts;
}

}  // namespace orliq::cli
