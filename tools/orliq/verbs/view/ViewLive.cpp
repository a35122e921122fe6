// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewLive.h"

#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

#include "orliq/network/HostNetwork.h"
#include "orliq/verbs/view/Notices.h"
#include "orliq/verbs/view/ViewSite.h"

namespace orliq::cli {
namespace {

using Clock = std::chrono::steady_clock;

constexpr std::chrono::milliseconds kImuPause{100};
constexpr std::chrono::seconds kLedgerPause{1};
constexpr std::size_t kMostSamples = 1000;  // in one message

/// Hands on to the pages what live receives, and its words.
class PageAudience : public LiveAudience {
 public:
  PageAudience(ViewSite& site, Console& console)
      : site_(site), hub_(site.Hub()), notices_(console) {}

  void Take(TakenCloud cloud) override { hub_.Show(std::move(cloud), -1); }

  void Take(const lidar::ImuMsg& sample) override {
    site_.Take(sample);
    const std::lock_guard lock(mutex_);
    if (samples_.size() < kMostSamples) samples_.push_back(sample);
  }

  void Look(const LiveLook& look) override {
    const Clock::time_point now = Clock::now();
    if (now >= imu_due_) TellImu(now);
    const bool changed = notices_.SetSilence(look.silence);
    if (!changed && now < ledger_due_) return;
    ledger_due_ = now + kLedgerPause;
    hub_.TellLedger(LedgerText(look.sensors, notices_.All()));
    site_.Tell(look.sensors, look.silence);
  }

  void AddRows(Report& report) const override { site_.AddRows(report); }

 private:
  void TellImu(Clock::time_point now) {
    imu_due_ = now + kImuPause;
    std::vector<lidar::ImuMsg> samples;
    {
      const std::lock_guard lock(mutex_);
      samples.swap(samples_);
    }
    if (!samples.empty()) hub_.TellImu(ImuText(samples));
  }

  ViewSite& site_;
  ViewHub& hub_;
  Notices notices_;
  Clock::time_point imu_due_;     // of the thread that looks
  Clock::time_point ledger_due_;  // likewise
  std::mutex mutex_;
  std::vector<lidar::ImuMsg> samples_;  // guarded by mutex_
};

/// With a source that the pages are told of first.
ExitCode Show(const ViewOptions& options, const ViewedSource& source, Console& console) {
  ViewSite site(options, source, console);
  PageAudience audience(site, console);
  return RunLive(options.live, console, &audience);
}

}  // namespace

ExitCode ViewLive(const ViewOptions& options, Console& console) {
  const LiveOptions& live = options.live;
  const Model& model = KnownModel(live.cloud.model);
  ViewedSource source;
  source.title =
      std::string(model.name) + " on " + EndpointText(live.listen.address, live.listen.port);
  source.point = live.cloud.output.point;
  source.sensors = {{model.name, &model, MakeDriverParam(live.cloud, model)}};
  return Show(options, source, console);
}

ExitCode ViewLive(const ViewOptions& options, const SensorFile& file, Console& console) {
  ViewedSource source;
  source.title = file.path;
  source.point = options.live.cloud.output.point;
  for (const ConfiguredSensor& sensor : file.sensors) {
    source.sensors.push_back({sensor.name, sensor.model, MakeDriverParam(sensor)});
  }
  return Show(options, source, console);
}

}  // namespace orliq::cli
