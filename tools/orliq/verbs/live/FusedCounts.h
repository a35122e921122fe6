// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <mutex>
#include <vector>

#include "multi_driver/DriverStatistics.h"
#include "multi_driver/FusionRound.h"
#include "orliq/clouds/CloudCounter.h"
#include "orliq/clouds/CloudSaver.h"

namespace orliq::cli {

/// Median and largest of many times, to 0.1 ms: for days of rounds in bounded memory.
class TimeSpread {
 public:
  void Add(double seconds);
  double Median() const { return static_cast<double>(steps_.Median()) / kPerSecond; }
  double Max() const { return static_cast<double>(steps_.Max()) / kPerSecond; }

 private:
  static constexpr double kPerSecond = 1e4;  // [1/s] steps

  PointSpread steps_;
};

/// What has come from one of several live sensors.
struct SensorCounts {
  lidar::DriverStatistics packets;
  CloudSums frames;                ///< with points, of the clouds that count
  std::uint64_t empty_frames = 0;  ///< without, likewise
  std::uint64_t overwritten =
      0;                      ///< frames that a later one took the place of, before such a cloud
  std::uint64_t ended = 0;    ///< frames that came into any round, or were overwritten before it
  bool waits = false;         ///< a new frame of it waits for those of the others
  double median_age_s = 0.0;  ///< from the end of its frame to the cloud
  double max_age_s = 0.0;
};

/// What has come from all of them.
struct FusedCounts {
  CloudSums clouds;          ///< with points, the partial one only when it is kept
  std::uint64_t rounds = 0;  ///< fused clouds of all kinds
  std::uint64_t empty_clouds = 0;
  std::uint64_t partial_points = 0;        ///< of the first one
  std::uint64_t clouds_before_tables = 0;  ///< with a frame decoded without its sensor's tables
  double median_skew_s = 0.0;
  double max_skew_s = 0.0;
  double last_skew_s = 0.0;  ///< of the latest cloud of any kind
  std::vector<SensorCounts> sensors;
  CloudSaver::Losses not_written;  ///< so far: clouds may still wait for the disk
};

/// Counts fused clouds. Safe from every thread.
class FusionCounter {
 public:
  enum class Kind { kCounts, kEmpty, kPartial, kBeforeTables };

  explicit FusionCounter(std::size_t sensors) : sensors_(sensors) {}

  /// A round with its cloud; `non_zero` are the points of each sensor that are not at the origin.
  void Add(Kind kind, const lidar::FusionRound& round, const std::vector<std::uint64_t>& non_zero);

  /// All but what is known of packets and files.
  FusedCounts Read() const;

  /// Clouds that count.
  std::uint64_t Clouds() const { return clouds_.Count(); }

 private:
  struct Sensor {
    CloudCounter frames;
    TimeSpread age;  // guarded by mutex_, as the counts below
    std::uint64_t empty_frames = 0;
    std::uint64_t overwritten = 0;
    std::uint64_t ended = 0;
  };

  void AddFrames(const lidar::FusionRound& round, const std::vector<std::uint64_t>& non_zero);

  CloudCounter clouds_;
  std::vector<Sensor> sensors_;
  mutable std::mutex mutex_;
  TimeSpread skew_;      // guarded by mutex_
  FusedCounts counted_;  // likewise: the plain numbers of it
};

}  // namespace orliq::cli
