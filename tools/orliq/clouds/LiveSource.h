// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>
#include <string>

#include "multi_driver/OrliqDriver.h"
#include "orliq/clouds/CloudCounter.h"
#include "orliq/clouds/CloudPool.h"
#include "orliq/clouds/CloudSaver.h"
#include "orliq/clouds/CloudTaker.h"
#include "orliq/clouds/CloudView.h"

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

/// Receives through the public driver. The counting happens on the driver's decoding thread.
template <typename Cloud>
class DriverSource : public LiveSource {
 public:
  /// `saver` and `taker` may be null and outlive this.
  DriverSource(const FrameChoice& choice, CloudSaver* saver, CloudTaker* taker)
      : choice_(choice),
        wanted_(choice.frames.value_or(std::numeric_limits<std::uint64_t>::max())),
        saver_(saver),
        taker_(taker) {}

  bool Open(const lidar::DriverParam& param) override {
    driver_.RegisterPointCloudCallBack(
        [this](const std::shared_ptr<Cloud>& cloud) { TakeCloud(cloud); },
        [this] { return pool_->Take(); });
    driver_.RegisterImuCallBack(
        [this](const std::shared_ptr<lidar::ImuMsg>& sample) { TakeImu(*sample); },
        [] { return std::make_shared<lidar::ImuMsg>(); });
    if (saver_ != nullptr && saver_->KeepsPackets()) {
      driver_.RegisterPacketCallBack([this](const lidar::RawPacket& packet) {
        if (!Complete()) saver_->Save(0, packet);
      });
    }
    driver_.SetStrictUpload(!choice_.lenient);
    driver_.SetSocketBuffer(choice_.socket_buffer);
    calibrated_ = param.param_source == 0;
    origin_ = OriginOf(param);
    return driver_.SetSourceAddress(choice_.source) && driver_.InitDriver(param) && driver_.Start();
  }

  void Stop() override { driver_.Stop(); }

  bool Complete() const override { return frames_.Count() == wanted_; }

  LiveCounts Counts() const override {
    LiveCounts counts;
    driver_.GetStatistics(counts.packets);
    counts.frames = frames_.Sums();
    counts.empty_frames = empty_frames_;
    counts.partial_points = partial_points_;
    counts.frames_before_tables = frames_before_tables_;
    counts.imu_samples = imu_samples_;
    if (saver_ != nullptr) counts.not_written = saver_->Found();
    return counts;
  }

  lidar::CalibrationStatus Calibration() const override {
    lidar::CalibrationStatus status;
    driver_.GetCalibrationStatus(status);
    return status;
  }

 private:
  using Number = std::atomic<std::uint64_t>;

  void TakeCloud(const std::shared_ptr<Cloud>& cloud) {
    if (Complete()) return;
    const int number = clouds_++;
    const std::size_t points = cloud->points.size();
    const bool calibrated = WasCalibrated();
    if (!calibrated && points > 0) {
      ++frames_before_tables_;
      return;
    }
    const bool partial = number == 0;
    if (partial) partial_points_ = points;
    if (points == 0) {
      ++empty_frames_;
    } else if (!partial || choice_.partial) {
      if (saver_ != nullptr) saver_->Save(cloud, View(*cloud), number);
      if (taker_ != nullptr) taker_->Take({cloud, View(*cloud), {{points, cloud->timestamp}}});
      frames_.Add(points,
                  CountNonZero(*cloud, origin_));  // last: a frame that counts is handed over
    }
  }

  /// Whether the frame that has just ended was decoded with all tables from its first packet on.
  /// Without, its points lie straight ahead; and so do some of the frame in which the tables came.
  bool WasCalibrated() {
    if (calibrated_) return true;
    const lidar::CalibrationStatus status = Calibration();
    calibrated_ = status.loaded && status.refused.empty();  // for the frames that follow
    lidar::DriverStatistics statistics;
    driver_.GetStatistics(statistics);
    return calibrated_ && statistics.upload.decoded_before_use == 0;
  }

  void TakeImu(const lidar::ImuMsg& sample) {
    if (Complete()) return;
    ++imu_samples_;
    if (saver_ != nullptr) saver_->Save(sample);
    if (taker_ != nullptr) taker_->Take(sample);
  }

  FrameChoice choice_;
  std::uint64_t wanted_;
  CloudSaver* saver_;
  CloudTaker* taker_;
  int clouds_ = 0;           // of all kinds; of the decoding thread
  bool calibrated_ = false;  // from the next frame on; likewise, once it runs
  Origin origin_;            // of the sensor
  CloudCounter frames_;
  Number empty_frames_{0};
  Number partial_points_{0};
  Number frames_before_tables_{0};
  Number imu_samples_{0};
  std::shared_ptr<CloudPool<Cloud>> pool_ =
      std::make_shared<CloudPool<Cloud>>(CloudSaver::kRoom + 2);
  OrliqDriver<Cloud> driver_;  // last, so that its threads end before anything they use
};

}  // namespace orliq::cli
