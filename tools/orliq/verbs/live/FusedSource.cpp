// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/FusedSource.h"

#include <cstdint>
#include <limits>

#include "multi_driver/OrliqMultiDriver.h"
#include "orliq/clouds/CloudPool.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/clouds/CloudView.h"

namespace orliq::cli {
namespace {

template <typename Cloud>
class MultiDriverSource : public FusedSource {
 public:
  MultiDriverSource(const std::vector<ConfiguredSensor>& sensors, const FrameChoice& choice,
                    CloudSaver* saver, CloudTaker* taker)
      : choice_(choice),
        wanted_(choice.frames.value_or(std::numeric_limits<std::uint64_t>::max())),
        saver_(saver),
        taker_(taker),
        counter_(sensors.size()),
        pool_(std::make_shared<CloudPool<Cloud>>(CloudSaver::RoomFor(sensors.size()) + 2)) {
    for (const ConfiguredSensor& sensor : sensors) {
      params_.push_back(MakeDriverParam(sensor));
      origins_.push_back(OriginOf(params_.back()));
      whole_from_.push_back(sensor.params_from ? kUnknown : 1);
      driver_.SetSourceAddress(params_.size() - 1, sensor.source);
    }
  }

  bool Open() override {
    driver_.RegisterPointCloudCallBack(
        [this](const std::shared_ptr<Cloud>& cloud) { TakeCloud(cloud); },
        [this] { return pool_->Take(); });
    if (saver_ != nullptr && saver_->KeepsPackets()) {
      driver_.RegisterPacketCallBack([this](std::size_t sensor, const lidar::RawPacket& packet) {
        if (!Complete()) saver_->Save(sensor, packet);
      });
    }
    driver_.SetStrictUpload(!choice_.lenient);
    driver_.SetSocketBuffer(choice_.socket_buffer);
    return driver_.InitDriver({0, params_.size(), params_.data()}) && driver_.Start();
  }

  std::size_t Opened() const override { return driver_.SensorCount(); }
  void Stop() override { driver_.Stop(); }
  bool Complete() const override { return counter_.Clouds() == wanted_; }

  FusedCounts Counts() const override {
    FusedCounts counts = counter_.Read();
    for (std::size_t i = 0; i < params_.size(); ++i) {
      driver_.GetStatistics(i, counts.sensors[i].packets);
      counts.sensors[i].waits = driver_.IsFrameWaiting(i);
    }
    if (saver_ != nullptr) counts.not_written = saver_->Found();
    return counts;
  }

  lidar::CalibrationStatus Calibration(std::size_t sensor) const override {
    lidar::CalibrationStatus status;
    driver_.GetCalibrationStatus(sensor, status);
    return status;
  }

 private:
  using Kind = FusionCounter::Kind;
  static constexpr std::uint64_t kUnknown = 0;

  void TakeCloud(const std::shared_ptr<Cloud>& cloud) {
    lidar::FusionRound round;
    if (Complete() || !driver_.GetFusionRound(round)) return;
    cloud->timestamp = TimeOf(round);  // a fused cloud comes without
    const Kind kind = KindOf(round, cloud->points.empty());
    if (kind == Kind::kCounts && saver_ != nullptr) {
      saver_->Save(cloud, View(*cloud), static_cast<int>(round.number - 1));
    }
    if (kind == Kind::kCounts && taker_ != nullptr) {
      taker_->Take({cloud, View(*cloud), PartsOf(round)});
    }
    counter_.Add(kind, round, NonZero(round, *cloud));  // last: a cloud that counts is handed over
  }

  static std::vector<CloudPart> PartsOf(const lidar::FusionRound& round) {
    std::vector<CloudPart> parts;
    for (const lidar::FusedFrame& frame : round.sensors) {
      parts.push_back({frame.points, frame.timestamp});
    }
    return parts;
  }

  /// [s] of the first sensor that tells time; 0.0 when none does.
  static double TimeOf(const lidar::FusionRound& round) {
    for (const lidar::FusedFrame& frame : round.sensors) {
      if (frame.timestamp != 0.0) return frame.timestamp;
    }
    return 0.0;
  }

  Kind KindOf(const lidar::FusionRound& round, bool empty) {
    const bool calibrated = WereCalibrated(round.number);
    if (empty) return Kind::kEmpty;
    if (!calibrated) return Kind::kBeforeTables;
    return round.number == 1 && !choice_.partial ? Kind::kPartial : Kind::kCounts;
  }

  /// Whether each frame of the round was decoded with its sensor's tables from its first packet on.
  bool WereCalibrated(std::uint64_t round) {
    bool calibrated = true;
    for (std::size_t i = 0; i < params_.size(); ++i) {
      if (whole_from_[i] == kUnknown && HasTables(i)) whole_from_[i] = FirstWhole(i, round);
      calibrated = calibrated && whole_from_[i] != kUnknown && round >= whole_from_[i];
    }
    return calibrated;
  }

  bool HasTables(std::size_t sensor) const {
    const lidar::CalibrationStatus status = Calibration(sensor);
    return status.loaded && status.refused.empty();
  }

  /// When `round` is the first one at whose hand-over the tables were in use: the next one's frame
  /// may have ended before, while this cloud was made. The one after that ended later, but may have
  /// begun before. So the third is the first that is certain.
  std::uint64_t FirstWhole(std::size_t sensor, std::uint64_t round) const {
    lidar::DriverStatistics statistics;
    driver_.GetStatistics(sensor, statistics);
    return statistics.upload.decoded_before_use == 0 ? 1 : round + 3;
  }

  std::vector<std::uint64_t> NonZero(const lidar::FusionRound& round, const Cloud& cloud) const {
    std::vector<std::uint64_t> counts;
    auto begin = cloud.points.begin();
    for (const lidar::FusedFrame& frame : round.sensors) {
      const auto end = begin + static_cast<std::ptrdiff_t>(frame.points);
      counts.push_back(CountNonZero(begin, end, origins_[counts.size()]));
      begin = end;
    }
    return counts;
  }

  const FrameChoice choice_;
  const std::uint64_t wanted_;
  CloudSaver* const saver_;
  CloudTaker* const taker_;
  std::vector<lidar::DriverParam> params_;  // in sensor order, as what follows
  std::vector<Origin> origins_;
  std::vector<std::uint64_t> whole_from_;  // round; of the fusion thread, once it runs
  FusionCounter counter_;
  std::shared_ptr<CloudPool<Cloud>> pool_;
  OrliqMultiDriver<Cloud> driver_;  // last, so that its threads end before anything they use
};

}  // namespace

std::unique_ptr<FusedSource> MakeFusedSource(const std::string& point,
                                             const std::vector<ConfiguredSensor>& sensors,
                                             const FrameChoice& choice, CloudSaver* saver,
                                             CloudTaker* taker) {
  return WithCloudType(point, [&](auto type) {
    using Source = MultiDriverSource<typename decltype(type)::Cloud>;
    return std::unique_ptr<FusedSource>(std::make_unique<Source>(sensors, choice, saver, taker));
  });
}

}  // namespace orliq::cli
