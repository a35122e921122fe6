// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/LiveSource.h"

#include <atomic>
#include <limits>

#include "multi_driver/OrliqDriver.h"
#include "orliq/clouds/CloudPool.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/clouds/CloudView.h"

namespace orliq::cli {
namespace {

template <typename Cloud>
class DriverSource : public LiveSource {
 public:
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

}  // namespace

std::unique_ptr<LiveSource> MakeLiveSource(const std::string& point, const FrameChoice& choice,
                                           CloudSaver* saver, CloudTaker* taker) {
  return WithCloudType(point, [&](auto type) {
    using Source = DriverSource<typename decltype(type)::Cloud>;
    return std::unique_ptr<LiveSource>(std::make_unique<Source>(choice, saver, taker));
  });
}

}  // namespace orliq::cli
