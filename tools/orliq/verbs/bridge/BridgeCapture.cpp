// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/bridge/BridgeCapture.h"

#include <algorithm>
#include <chrono>
#include <memory>
#include <utility>

#include "orliq/clouds/CloudParts.h"
#include "orliq/clouds/CloudTypes.h"
#include "orliq/clouds/FramePace.h"
#include "orliq/clouds/RoundPlayer.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/PlayedCaptures.h"
#include "orliq/verbs/bridge/BridgeReport.h"
#include "orliq/verbs/bridge/BridgeStatus.h"

namespace orliq::cli {
namespace {

using Clock = std::chrono::steady_clock;
using std::chrono::milliseconds;

constexpr std::chrono::seconds kStatesPause{1};

/// False when it was interrupted.
bool WaitUntil(Clock::time_point due) {
  const auto rest = std::chrono::duration_cast<milliseconds>(due - Clock::now());
  return !WaitForInterrupt(std::max(rest, milliseconds(0)));
}

template <typename Cloud>
class Playing {
 public:
  Playing(const BridgeOptions& options, const SensorFile& file, PlayedCaptures captures,
          const Console& console)
      : options_(options),
        file_(file),
        captures_(std::move(captures)),
        player_(captures_.sensors),
        site_(options.publish, file.sensors, console),
        moments_(file.sensors.size()) {}

  BridgeTally Run() {
    if (!player_.Open())
      throw Failure(ExitCode::kLosses, "interrupted before a frame was published");
    const Clock::time_point start = Clock::now();
    told_at_ = start;
    while (PlayAll() && options_.loop) {
    }
    TellStates(Clock::now());
    site_.Finish();
    return Tally(start);
  }

 private:
  bool PlayAll() {
    for (std::size_t round = 0; round < player_.Rounds(); ++round) {
      if (!PlayRound(round)) return false;
    }
    return true;
  }

  bool PlayRound(std::size_t round) {
    std::vector<CloudPart> parts;
    const std::shared_ptr<Cloud> cloud = player_.Play(round, parts);
    if (!cloud) return false;
    const Clock::duration pause = std::chrono::duration_cast<Clock::duration>(
        std::chrono::duration<double>(PauseBetween(time_, cloud->timestamp)));
    due_ = due_ == Clock::time_point() ? Clock::now() : std::max(due_ + pause, Clock::now());
    if (!WaitUntil(due_)) return false;
    time_ = cloud->timestamp;
    HandOver({cloud, View(*cloud), std::move(parts)});
    if (Clock::now() >= told_at_ + kStatesPause) TellStates(Clock::now());
    return true;
  }

  void HandOver(const TakenCloud& cloud) {
    ForEachPart(cloud, [this](std::size_t sensor, TakenCloud part) {
      site_.Of(sensor).Take(std::move(part));
      ++moments_[sensor].now.frames.count;
    });
  }

  void TellStates(Clock::time_point now) {
    std::vector<RosStatus> states;
    for (std::size_t i = 0; i < moments_.size(); ++i) {
      BridgeMoments& moments = moments_[i];
      moments.now.packets = player_.Statistics(i);
      moments.seconds = std::chrono::duration<double>(now - told_at_).count();
      states.push_back(StatusOf(file_.sensors[i], site_.TopicOf(i), moments));
      moments.before = moments.now;
    }
    site_.Tell(states);
    told_at_ = now;
  }

  BridgeTally Tally(Clock::time_point start) const {
    BridgeTally tally;
    tally.seconds = std::chrono::duration<double>(Clock::now() - start).count();
    tally.interrupted = InterruptRequested();
    tally.refused = site_.Refused();
    tally.viewers = site_.ReadViewers();
    for (std::size_t i = 0; i < moments_.size(); ++i) {
      LiveCounts counts = moments_[i].now;
      counts.packets = player_.Statistics(i);
      tally.sensors.push_back({&file_.sensors[i], site_.TopicOf(i), counts, site_.Read(i)});
    }
    return tally;
  }

  const BridgeOptions& options_;
  const SensorFile& file_;
  const PlayedCaptures captures_;
  RoundPlayer<Cloud> player_;
  BridgeSite site_;
  std::vector<BridgeMoments> moments_;  // of each sensor
  double time_ = 0.0;                   // [s] of the frame before
  Clock::time_point due_;               // when that one was due
  Clock::time_point told_at_;
};

ExitCode Publish(const BridgeOptions& options, const SensorFile& file, PlayedCaptures captures,
                 Console& console) {
  const OutputOptions& output = options.live.cloud.output;
  if (output.verbose) Console::ShowLibraryLines();
  for (const std::string& remark : captures.remarks) console.Note(remark);
  const BridgeTally tally = WithCloudType(output.point, [&](auto type) {
    using Cloud = typename decltype(type)::Cloud;
    return Playing<Cloud>(options, file, std::move(captures), console).Run();
  });
  console.Print(tally.MakeReport());
  return tally.HasLosses() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace

ExitCode BridgeCapture(const BridgeOptions& options, const SensorFile& file, Console& console) {
  SourceOptions in_place = options;
  in_place.live.cloud.transform.clear();  // readers get it by itself, in /tf_static
  return Publish(options, file, OneCapture(in_place, "published", console), console);
}

ExitCode BridgeCaptures(const BridgeOptions& options, const SensorFile& file, Console& console) {
  SensorFile in_place = file;
  for (ConfiguredSensor& sensor : in_place.sensors) {
    sensor.decoder.transform_param = {};  // likewise
  }
  return Publish(options, file, SeveralCaptures(options, in_place, console), console);
}

}  // namespace orliq::cli
