// SPDX-License-Identifier: Apache-2.0
#include "orliq/ros/RosFeed.h"

#include <pthread.h>

#include <utility>

namespace orliq::cli {

/// The hand that a driver gives its clouds to.
class RosFeed::Taker : public CloudTaker {
 public:
  Taker(RosFeed& feed, Sensor& sensor) : feed_(feed), sensor_(sensor) {}
  void Take(TakenCloud cloud) override { feed_.Take(sensor_, std::move(cloud)); }
  void Take(const lidar::ImuMsg& sample) override { feed_.Take(sensor_, sample); }

 private:
  RosFeed& feed_;
  Sensor& sensor_;
};

RosFeed::RosFeed(std::vector<RosSensor> sensors, RosStamp stamp, std::vector<RosOutlet*> outlets)
    : stamp_(stamp), outlets_(std::move(outlets)) {
  RequireRosMessages();
  transforms_ = AddTopic({"/tf_static", &kRosTransforms, true});
  diagnostics_ = AddTopic({"/diagnostics", &kRosDiagnostics});
  for (RosSensor& names : sensors) {
    const std::string prefix = '/' + names.name;
    const std::size_t points = AddTopic({prefix + "/points", &kRosPointCloud2});
    const std::size_t imu = names.has_imu ? AddTopic({prefix + "/imu", &kRosImu}) : 0;
    sensors_.push_back({std::move(names), points, imu});
    takers_.push_back(std::make_unique<Taker>(*this, sensors_.back()));
  }
  thread_ = std::thread([this] { Run(); });
}

void RosFeed::Finish() {
  if (!thread_.joinable()) return;
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  work_.notify_one();
  thread_.join();
}

/// Every outlet counts its topics from 0, so that one number does for all.
std::size_t RosFeed::AddTopic(const RosTopic& topic) {
  std::size_t number = 0;
  for (RosOutlet* const outlet : outlets_) number = outlet->AddTopic(topic);
  return number;
}

void RosFeed::Take(Sensor& sensor, TakenCloud cloud) {
  const RosTime now = RosTimeNow();
  std::optional<TakenCloud> left_out;  // which gives its memory back behind the lock
  {
    const std::lock_guard lock(mutex_);
    if (sensor.clouds.size() == kWaitingClouds) {
      left_out = std::move(sensor.clouds.front().first);
      sensor.clouds.pop_front();
      ++sensor.sums.clouds_left_out;
    }
    sensor.clouds.emplace_back(std::move(cloud), now);
  }
  work_.notify_one();
}

void RosFeed::Take(Sensor& sensor, const lidar::ImuMsg& sample) {
  if (!sensor.names.has_imu) return;
  const RosTime now = RosTimeNow();
  {
    const std::lock_guard lock(mutex_);
    if (sensor.samples.size() == kWaitingSamples) {
      sensor.samples.pop_front();
      ++sensor.sums.samples_left_out;
    }
    sensor.samples.emplace_back(sample, now);
  }
  work_.notify_one();
}

RosTime RosFeed::StampOf(double time, const RosTime& host) const {
  return stamp_ == RosStamp::kHost || time == 0.0 ? host : ToRosTime(time);
}

void RosFeed::Run() {
  ::pthread_setname_np(::pthread_self(), "orliq-ros");
  std::unique_lock lock(mutex_);
  while (true) {
    bool any = false;
    for (Sensor& sensor : sensors_) any = PublishNext(sensor, lock) || any;
    if (any) continue;
    if (ending_) return;
    work_.wait(lock);
  }
}

/// All samples that wait, and one cloud, so that the sensors take turns. Whether there was any.
bool RosFeed::PublishNext(Sensor& sensor, std::unique_lock<std::mutex>& lock) {
  const auto samples = std::exchange(sensor.samples, {});
  std::optional<std::pair<TakenCloud, RosTime>> cloud;
  if (!sensor.clouds.empty()) {
    cloud = std::move(sensor.clouds.front());
    sensor.clouds.pop_front();
  }
  if (samples.empty() && !cloud) return false;
  lock.unlock();
  const RosSensor& names = sensor.names;
  for (const auto& [sample, host] : samples) {
    const RosTime stamp = StampOf(sample.timestamp, host);
    const std::string& frame = names.imu_frame.empty() ? names.frame : names.imu_frame;
    Publish(sensor.imu, stamp, ImuCdr({stamp, frame}, sample));
  }
  if (cloud) PublishCloud(sensor, cloud->first, cloud->second);
  lock.lock();
  sensor.sums.samples += samples.size();
  if (cloud) ++sensor.sums.clouds;
  return true;
}

void RosFeed::PublishCloud(const Sensor& sensor, const TakenCloud& cloud, const RosTime& host) {
  const RosSensor& names = sensor.names;
  const RosTime stamp = StampOf(TimeOf(cloud.view), host);
  Publish(sensor.points, stamp,
          PointCloud2Cdr(
              {{stamp, names.frame}, cloud.view, {names.origin}, names.rows, names.columns}));
}

void RosFeed::Tell(const std::vector<RosTransform>& transforms) {
  Publish(transforms_, RosTimeNow(), TransformsCdr(transforms));
}

void RosFeed::Tell(const std::vector<RosStatus>& statuses) {
  const RosTime now = RosTimeNow();
  Publish(diagnostics_, now, DiagnosticsCdr({now, ""}, statuses));
}

void RosFeed::Publish(std::size_t topic, const RosTime& stamp, std::string cdr) {
  const auto message = std::make_shared<const std::string>(std::move(cdr));
  for (RosOutlet* const outlet : outlets_) outlet->Publish(topic, stamp, message);
}

RosFeed::Sums RosFeed::Read(std::size_t sensor) const {
  const std::lock_guard lock(mutex_);
  return sensors_[sensor].sums;
}

}  // namespace orliq::cli
