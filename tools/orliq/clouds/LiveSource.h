// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>

#include "multi_driver/CalibrationStatus.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/DriverStatistics.h"
#include "orliq/clouds/CloudCounter.h"
#include "orliq/clouds/CloudSaver.h"
#include "orliq/clouds/CloudTaker.h"

namespace orliq::cli {

/// What has come from a live sensor so far.
struct LiveCounts {
  lidar::DriverStatistics packets;
  CloudSums frames;  ///< clouds with points, the partial one only when it is kept
  std::uint64_t empty_frames = 0;
  std::uint64_t partial_points = 0;  ///< of the first one, which had begun before
  /// Decoded without the sensor's tables, in whole or in part; none of the others.
  std::uint64_t frames_before_tables = 0;
  std::uint64_t imu_samples = 0;
  CloudSaver::Losses not_written;  ///< so far: frames may still wait for the disk
};

/// Which frames of a live sensor are wanted.
struct FrameChoice {
  std::optional<std::uint64_t> frames;  ///< so many and no more; nothing: all
  bool partial = false;                 ///< the first one too, which had begun before
  std::string source;                   ///< IPv4 address of the sensor; empty: any sender
  std::uint32_t socket_buffer = 0;      ///< [bytes] asked of the system; 0: the driver's own
  bool lenient = false;                 ///< replies with its calibration are taken as they come
};

/// A live sensor, whatever its point type.
class LiveSource {
 public:
  LiveSource() = default;
  virtual ~LiveSource() = default;
  LiveSource(const LiveSource&) = delete;
  LiveSource& operator=(const LiveSource&) = delete;

  /// Initialises and starts the driver; false when that fails.
  virtual bool Open(const lidar::DriverParam& param) = 0;
  virtual void Stop() = 0;

  /// Whether all the frames that were asked for are here.
  virtual bool Complete() const = 0;
  virtual LiveCounts Counts() const = 0;

  /// Where its calibration comes from, and which tables are not in use.
  virtual lidar::CalibrationStatus Calibration() const = 0;
};

/// Receives clouds of the point type that --point names, through the public driver. The counting happens on
/// the driver's decoding thread. `saver` and `taker` may be null and outlive the source.
std::unique_ptr<LiveSource> MakeLiveSource(const std::string& point, const FrameChoice& choice,
                                           CloudSaver* saver, CloudTaker* taker);

}  // namespace orliq::cli
