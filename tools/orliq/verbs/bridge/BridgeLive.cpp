// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/bridge/BridgeLive.h"

#include <deque>
#include <memory>
#include <utility>

#include "orliq/config/SensorPlace.h"
#include "orliq/terminal/StatusLine.h"
#include "orliq/verbs/bridge/BridgeReport.h"
#include "orliq/verbs/bridge/BridgeStatus.h"
#include "orliq/verbs/live/SensorRemarks.h"
#include "orliq/verbs/live/SensorRows.h"
#include "orliq/verbs/live/SensorSetUp.h"
#include "orliq/verbs/live/Watching.h"

namespace orliq::cli {
namespace {

constexpr double kPatience = 3.0;     // [s] without a packet, until it is told
constexpr double kStatesPause = 1.0;  // [s] between messages on how the sensors are
constexpr std::chrono::seconds kStatusPause{1};

/// A sensor on its way to its topics.
struct Bridged {
  const ConfiguredSensor& sensor;
  Remarks remarks;
  std::unique_ptr<LiveSource> source;
  SensorRemarks facts;
  BridgeMoments moments{};  // before: at the last message on it
};

std::unique_ptr<LiveSource> MakeSource(const LiveOptions& live, const ConfiguredSensor& sensor,
                                       CloudTaker& taker) {
  FrameChoice choice = live.choice;
  choice.source = sensor.source;
  return MakeLiveSource(live.cloud.output.point, choice, nullptr, &taker);
}

/// For the status line, of what /diagnostics tells in full.
std::string InAWord(const BridgeMoments& moments, const std::string& message) {
  if (!moments.refusal.empty()) return "refused";
  return moments.silence.empty() ? message : "silent";
}

/// All sensors, each with a driver of its own, so that none waits for another.
class Bridge {
 public:
  /// All of them outlive this.
  Bridge(const BridgeOptions& options, const SensorFile& file, BridgeSite& site,
         const Console& console)
      : options_(options),
        file_(file),
        site_(site),
        console_(console),
        time_(options.live.listen),
        line_(options.live.listen.quiet, kStatusPause) {
    for (const ConfiguredSensor& sensor : file.sensors) Add(sensor);
  }

  /// Throws Failure when a driver cannot listen.
  void Open() {
    for (Bridged& bridged : sensors_) {
      lidar::DriverParam param = MakeDriverParam(bridged.sensor);
      param.decoder_param.transform_param = {};  // readers get it by itself, in /tf_static
      if (bridged.source->Open(param)) continue;
      throw Failure(ExitCode::kFileFault,
                    "the driver cannot listen on " + WhereText(bridged.sensor));
    }
  }

  void Stop() {
    for (Bridged& bridged : sensors_) bridged.source->Stop();
  }

  void Look() {
    now_ = time_.Seconds();
    for (Bridged& bridged : sensors_) LookAt(bridged);
    if (now_ - told_at_ >= kStatesPause) TellStates();
  }

  void Conclude() {
    Look();
    for (Bridged& bridged : sensors_) bridged.facts.Conclude();
    site_.Finish();
  }

  void Show() {
    if (line_.Due()) line_.Show(status_);
  }

  bool Over() const {
    bool arrived = true;
    bool refused = true;
    for (const Bridged& bridged : sensors_) {
      arrived = arrived && bridged.moments.now.packets.decoded > 0;
      refused = refused && !bridged.moments.refusal.empty();
    }
    return refused || time_.Over(arrived);
  }

  BridgeTally Tally() const {
    BridgeTally tally;
    tally.seconds = now_;
    tally.interrupted = InterruptRequested() && !Over();
    tally.refused = site_.Refused();
    tally.viewers = site_.ReadViewers();
    for (std::size_t i = 0; i < sensors_.size(); ++i) {
      const Bridged& bridged = sensors_[i];
      tally.sensors.push_back(
          {&bridged.sensor, site_.TopicOf(i), bridged.moments.now, site_.Read(i)});
    }
    return tally;
  }

  /// Tables of a sensor that never came as they must.
  void RequireTables() const {
    for (const Bridged& bridged : sensors_) {
      if (bridged.moments.refusal.empty()) continue;
      throw Failure(ExitCode::kFileFault, bridged.remarks.Named(bridged.moments.refusal));
    }
  }

  /// What did not arrive, of the first sensor that is at fault.
  void RequirePackets() const {
    for (const Bridged& bridged : sensors_) {
      const lidar::DriverStatistics& packets = bridged.moments.now.packets;
      if (packets.decoded == 0) throw Failure(ExitCode::kNoData, Why(bridged));
      if (!LacksTables(packets)) continue;
      At(bridged.remarks.Named(""), [&] {
        throw UploadFailure(RequestOf(bridged.sensor, options_.live.choice.lenient), packets.upload,
                            now_, "bridge ended, no cloud was published with it");
      });
    }
  }

 private:
  void Add(const ConfiguredSensor& sensor) {
    const Remarks remarks = RemarksOn(file_, sensor, console_);
    auto source = MakeSource(options_.live, sensor, site_.Of(sensors_.size()));
    const LiveSource& calibrated = *source;
    const SensorWishes wishes = {sensor.model, sensor.source,
                                 RequestOf(sensor, options_.live.choice.lenient)};
    sensors_.push_back({sensor, remarks, std::move(source), {wishes, remarks, [&calibrated] {
                                                               return calibrated.Calibration();
                                                             }}});
  }

  std::string Why(const Bridged& bridged) const {
    const lidar::DriverStatistics& packets = bridged.moments.now.packets;
    return bridged.remarks.Named(
        WhyNothingArrived(SilenceOf(bridged.sensor, packets, now_), bridged.remarks));
  }

  void LookAt(Bridged& bridged) {
    BridgeMoments& moments = bridged.moments;
    moments.now = bridged.source->Counts();
    const LiveCounts& counts = moments.now;
    bridged.facts.Look(
        {counts.packets, counts.frames.count + counts.empty_frames, counts.frames.non_zero}, now_);
    LookAtTables(bridged);
    const bool was_silent = !moments.silence.empty();
    const double age = counts.packets.decoded == 0 ? now_ : counts.packets.last_packet_age_s;
    if (age < kPatience) {
      if (was_silent) bridged.remarks.Note("it sends now");
      moments.silence.clear();
    } else if (counts.packets.decoded > 0) {
      moments.silence = "nothing has arrived for " + Fixed(age, 0) + " s";
      if (!was_silent) bridged.remarks.Note(moments.silence);
    } else {
      moments.silence = Why(bridged);
      if (!was_silent) console_.Note(moments.silence);
    }
  }

  /// A sensor whose tables do not fit its model publishes nothing; the others go on.
  void LookAtTables(Bridged& bridged) const {
    const auto& refused = bridged.facts.RefusedTables();
    std::string& refusal = bridged.moments.refusal;
    if (refused.empty() || !refusal.empty()) return;
    refusal = MissingTables(*bridged.sensor.model, refused, "no cloud of it is published").what();
    if (sensors_.size() > 1) bridged.remarks.Note(refusal);
  }

  void TellStates() {
    std::vector<RosStatus> states;
    status_.clear();
    for (std::size_t i = 0; i < sensors_.size(); ++i) {
      Bridged& bridged = sensors_[i];
      bridged.moments.seconds = now_ - told_at_;
      states.push_back(StatusOf(bridged.sensor, site_.TopicOf(i), bridged.moments));
      bridged.moments.before = bridged.moments.now;
      const std::string& message = states.back().message;
      status_ +=
          (i == 0 ? "" : " | ") + bridged.sensor.name + ' ' + InAWord(bridged.moments, message);
    }
    site_.Tell(states);
    told_at_ = now_;
  }

  const BridgeOptions& options_;
  const SensorFile& file_;
  BridgeSite& site_;
  const Console& console_;
  ListenTime time_;
  StatusLine line_;
  std::deque<Bridged> sensors_;
  double now_ = 0.0;      // [s] of the last look
  double told_at_ = 0.0;  // [s] when the states were last told
  std::string status_;
};

}  // namespace

ExitCode BridgeLive(const BridgeOptions& options, SensorFile file, Console& console) {
  RequireSensors(file, console);
  for (const ConfiguredSensor& sensor : file.sensors) {
    RemarksOn(file, sensor, console).Note(NoPointsText(*sensor.model));
  }
  if (options.live.cloud.output.verbose) Console::ShowLibraryLines();
  BridgeSite site(options.publish, file.sensors, console);
  Bridge bridge(options, file, site, console);
  bridge.Open();
  console.Announce(ListeningText(file));
  const BridgeTally tally = WatchUntilOver(bridge, bridge);
  console.Print(tally.MakeReport());
  bridge.RequireTables();
  bridge.RequirePackets();
  std::vector<lidar::DriverStatistics> packets;
  for (const BridgedSensor& sensor : tally.sensors) packets.push_back(sensor.counts.packets);
  ExplainLosses(packets, options.live.choice.socket_buffer, console);
  return tally.HasLosses() ? ExitCode::kLosses : ExitCode::kDone;
}

}  // namespace orliq::cli
