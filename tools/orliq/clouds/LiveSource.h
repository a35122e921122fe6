// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <limits>
#include <memory>
#include <optional>

#include "multi_driver/OrliqDriver.h"
#include "orliq/clouds/CloudPool.h"
#include "orliq/clouds/CloudSaver.h"
#include "orliq/clouds/CloudView.h"

namespace orliq::cli {

/// What has come from a live sensor so far.
struct LiveCounts {
  lidar::DriverStatistics packets;
  std::uint64_t frames = 0;  ///< clouds with points
  double frames_span = 0.0;  ///< [s] from the first of them to the last
  std::uint64_t empty_frames = 0;
  std::uint64_t points = 0;
  std::uint64_t non_zero = 0;
  std::uint64_t last_points = 0;  ///< of the latest frame
  std::uint64_t imu_samples = 0;
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
};

/// Receives through the public driver. The counting happens on the driver's decoding thread.
template <typename Cloud>
class DriverSource : public LiveSource {
 public:
  /// Takes `frames` frames and no more, all when empty. `saver` may be null and outlives this.
  DriverSource(std::optional<std::uint64_t> frames, CloudSaver* saver)
      : wanted_(frames.value_or(std::numeric_limits<std::uint64_t>::max())), saver_(saver) {}

  bool Open(const lidar::DriverParam& param) override {
    driver_.RegisterPointCloudCallBack(
        [this](const std::shared_ptr<Cloud>& cloud) { TakeCloud(cloud); },
        [this] { return pool_->Take(); });
    driver_.RegisterImuCallBack([this](const std::shared_ptr<lidar::ImuMsg>&) { TakeImu(); },
                                [] { return std::make_shared<lidar::ImuMsg>(); });
    return driver_.InitDriver(param) && driver_.Start();
  }

  void Stop() override { driver_.Stop(); }

  bool Complete() const override { return frames_ == wanted_; }

  LiveCounts Counts() const override {
    LiveCounts counts;
    driver_.GetStatistics(counts.packets);
    counts.frames = frames_;
    counts.frames_span =
        std::chrono::duration<double>(last_frame_.load() - first_frame_.load()).count();
    counts.empty_frames = empty_frames_;
    counts.points = points_;
    counts.non_zero = non_zero_;
    counts.last_points = last_points_;
    counts.imu_samples = imu_samples_;
    return counts;
  }

 private:
  using Count = std::atomic<std::uint64_t>;
  using Clock = std::chrono::steady_clock;

  void TakeCloud(const std::shared_ptr<Cloud>& cloud) {
    if (Complete()) return;
    const auto number = static_cast<int>(frames_ + empty_frames_);
    last_points_ = cloud->points.size();
    if (cloud->points.empty()) {
      ++empty_frames_;
      return;
    }
    points_ += cloud->points.size();
    non_zero_ += CountNonZero(*cloud);
    if (saver_ != nullptr) saver_->Save(cloud, View(*cloud), number);
    last_frame_ = Clock::now();
    if (frames_ == 0) first_frame_ = last_frame_.load();
    ++frames_;  // last: whoever sees the frame complete finds it counted and handed over
  }

  void TakeImu() {
    if (!Complete()) ++imu_samples_;
  }

  std::uint64_t wanted_;
  CloudSaver* saver_;
  Count frames_{0};
  Count empty_frames_{0};
  Count points_{0};
  Count non_zero_{0};
  Count last_points_{0};
  Count imu_samples_{0};
  std::atomic<Clock::time_point> first_frame_{Clock::time_point()};
  std::atomic<Clock::time_point> last_frame_{Clock::time_point()};
  std::shared_ptr<CloudPool<Cloud>> pool_ =
      std::make_shared<CloudPool<Cloud>>(CloudSaver::kRoom + 2);
  OrliqDriver<Cloud> driver_;  // last, so that its threads end before anything they use
};

}  // namespace orliq::cli
