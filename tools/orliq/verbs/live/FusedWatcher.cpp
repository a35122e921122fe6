// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/FusedWatcher.h"

#include <algorithm>

#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/live/FusedSilence.h"
#include "orliq/verbs/live/LiveFiles.h"
#include "orliq/verbs/live/SensorSetUp.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kStatusPause{1};

bool HasArrived(const SensorCounts& counts) {
  return counts.packets.decoded > 0;
}

}  // namespace

FusedWatcher::FusedWatcher(const SensorFile& file, const FusedWishes& wishes,
                           const FusedSource& source, const Console& console)
    : file_(file),
      source_(source),
      console_(console),
      audience_(wishes.audience),
      time_(wishes.listen),
      line_(wishes.listen.quiet, kStatusPause) {
  now_.hold_ups.resize(file.sensors.size());
  now_.counts.sensors.resize(file.sensors.size());
  shown_ = now_;
  for (const ConfiguredSensor& sensor : file.sensors) {
    const std::size_t index = sensors_.size();
    const Remarks remarks(console, sensor.name);
    const SensorWishes of_sensor = {sensor.model, sensor.source, RequestOf(sensor, wishes.lenient)};
    sensors_.push_back(
        {remarks,
         {of_sensor, remarks, [&source, index] { return source.Calibration(index); }},
         {},
         {}});
  }
}

void FusedWatcher::Look() {
  const CloudSaver::Losses not_written = now_.counts.not_written;
  const std::vector<HoldUp> before = now_.hold_ups;
  now_.counts = source_.Counts();
  now_.at = time_.Seconds();
  for (std::size_t i = 0; i < sensors_.size(); ++i) LookAt(i);
  TellOfSilence(before);
  for (std::size_t i = 0; i < sensors_.size(); ++i) TellOfHoldUp(i, before[i]);
  TellFirstFault(not_written, now_.counts.not_written, console_);
  if (audience_ != nullptr) TellAudience();
}

void FusedWatcher::LookAt(std::size_t sensor) {
  const SensorCounts& counts = now_.counts.sensors[sensor];
  Watch& watch = sensors_[sensor];
  const std::uint64_t frames = counts.frames.count + counts.empty_frames;
  watch.facts.Look({counts.packets, frames, counts.frames.non_zero}, now_.at);
  now_.hold_ups[sensor] = watch.hold_up.Look(counts, now_.at);
}

/// Of which nothing that can be decoded has come for a while.
bool FusedWatcher::IsSilent(std::size_t sensor) const {
  const HoldUp hold_up = now_.hold_ups[sensor];
  return hold_up == HoldUp::kSilent ||
         (hold_up == HoldUp::kRefused && !HasArrived(now_.counts.sensors[sensor]));
}

void FusedWatcher::TellAudience() const {
  LiveLook look;
  std::vector<std::size_t> silent;
  for (std::size_t i = 0; i < sensors_.size(); ++i) {
    const SensorCounts& counts = now_.counts.sensors[i];
    const ConfiguredSensor& sensor = file_.sensors[i];
    look.sensors.push_back({sensor.name, {sensor.model, counts.packets, counts.frames.count}});
    if (IsSilent(i)) silent.push_back(i);
  }
  for (const std::string& text : WhyNothingArrived(file_, now_.counts, now_.at, silent, console_)) {
    look.silence += (look.silence.empty() ? "" : "\n") + text;
  }
  audience_->Look(look);
}

void FusedWatcher::TellOfSilence(const std::vector<HoldUp>& before) {
  std::vector<std::size_t> silent;
  for (std::size_t i = 0; i < sensors_.size(); ++i) {
    if (IsSilent(i) && now_.hold_ups[i] != before[i]) silent.push_back(i);
  }
  for (const std::string& text : WhyNothingArrived(file_, now_.counts, now_.at, silent, console_)) {
    console_.Note(text);
  }
}

void FusedWatcher::TellOfHoldUp(std::size_t sensor, HoldUp before) {
  Watch& watch = sensors_[sensor];
  const HoldUp now = now_.hold_ups[sensor];
  if (now == before) return;
  if (before == HoldUp::kSilent) watch.remarks.Note("it sends now");
  if (before == HoldUp::kStalled) {
    watch.remarks.Note("it sends again, after " + Fixed(watch.hold_up.Gap(), 1) + " s");
  }
  if (now == HoldUp::kStalled || watch.told.insert(now).second) {
    watch.remarks.Note(HoldUpText(sensor));
  }
}

/// Empty for a sensor of which nothing has arrived: TellOfSilence has all of those.
std::string FusedWatcher::HoldUpText(std::size_t sensor) const {
  const ConfiguredSensor& configured = file_.sensors[sensor];
  const lidar::DriverStatistics& packets = now_.counts.sensors[sensor].packets;
  switch (now_.hold_ups[sensor]) {
    case HoldUp::kStalled:
      return "it has sent nothing for " + Fixed(sensors_[sensor].hold_up.Gap(), 1) +
             " s: no cloud is fused until it is back";
    case HoldUp::kNoFrame:
      if (now_.counts.sensors[sensor].ended == 0) {
        return NoFrameText(packets.decoded, *configured.model) + ". Without one no cloud is fused";
      }
      return "no frame has ended for " + Fixed(HoldUpWatch::kPatience, 1) +
             " s, though packets come: no cloud is fused until one does";
    case HoldUp::kRefused:
      if (packets.decoded == 0) return {};
      return "the packets that come now are not of " + std::string(configured.model->name) +
             ": no cloud is fused until it sends those again";
    case HoldUp::kSilent:
    case HoldUp::kNone:
      return {};
  }
  return {};
}

void FusedWatcher::Conclude() {
  Look();
  for (std::size_t i = 0; i < sensors_.size(); ++i) {
    sensors_[i].facts.Conclude();
    const SensorCounts& counts = now_.counts.sensors[i];
    const bool any = counts.ended > 0 || counts.waits || !HasArrived(counts);
    if (!any && sensors_[i].told.count(HoldUp::kNoFrame) == 0) {
      sensors_[i].remarks.Note(NoFrameText(counts.packets.decoded, *file_.sensors[i].model));
    }
  }
}

void FusedWatcher::Show() {
  if (!line_.Due()) return;
  line_.Show(FusedStatusText(file_, shown_, now_, line_.Width()));
  shown_ = now_;
}

bool FusedWatcher::Over() const {
  const auto& counts = now_.counts.sensors;
  return source_.Complete() || time_.Over(std::all_of(counts.begin(), counts.end(), HasArrived)) ||
         std::any_of(sensors_.begin(), sensors_.end(),
                     [](const Watch& watch) { return !watch.facts.RefusedTables().empty(); });
}

FusedTally FusedWatcher::Tally() const {
  FusedTally tally;
  tally.file = &file_;
  tally.counts = now_.counts;
  tally.seconds = now_.at;
  tally.interrupted = InterruptRequested() && !Over();
  for (const Watch& watch : sensors_) tally.refused_tables.push_back(watch.facts.RefusedTables());
  return tally;
}

}  // namespace orliq::cli
