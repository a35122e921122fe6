// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/fuse/FusePlan.h"

#include <algorithm>
#include <filesystem>
#include <set>
#include <system_error>
#include <tuple>
#include <utility>

#include "orliq/config/SensorPlace.h"
#include "orliq/sensors/UnusedSettings.h"
#include "orliq/terminal/ExitCode.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

[[noreturn]] void Refuse(const std::string& path, const ConfiguredSensor& sensor, ExitCode code,
                         const std::string& why) {
  throw Failure(code, PlaceOf(path, sensor) + why);
}

void RequireFrames(const std::string& path, const ConfiguredSensor& sensor) {
  if (sensor.IsLive()) {
    Refuse(path, sensor, ExitCode::kUsage, "a live sensor: orliq live --config takes those");
  }
  if (sensor.model->delivers_frames) return;
  Refuse(path, sensor, ExitCode::kUsage,
         std::string(sensor.model->name) + " packets complete no frame that could be fused");
}

/// What is cheap to refuse goes first, for all of them.
void ExamineSensors(const SensorFile& file, const Console& console) {
  for (const ConfiguredSensor& sensor : file.sensors) RequireFrames(file.path, sensor);
  for (const ConfiguredSensor& sensor : file.sensors) {
    const Remarks remarks(console, sensor.name);
    At(PlaceOf(file.path, sensor), [&] { ExamineSource(MakeSource(sensor), remarks); });
    RemarkOnUnusedPose(*sensor.model, sensor.decoder.transform_param, remarks);
  }
}

/// Throws Failure when there is no frame to begin with.
void RequireFirstFrame(const std::string& path, const FusedSensor& fused, bool partial,
                       const std::vector<int>& usable) {
  const ConfiguredSensor& sensor = fused.sensor;
  if (!partial && !fused.plan.HasMarks()) {
    Refuse(path, sensor, ExitCode::kNoData,
           sensor.capture + " holds no frame mark, so nothing tells its frames apart");
  }
  if (usable.empty()) {
    Refuse(path, sensor, ExitCode::kNoData,
           "no whole frame is in " + sensor.capture + (partial ? "" : ": --partial takes others"));
  }
  const int first = sensor.first_frame.value_or(usable.front());
  if (std::binary_search(usable.begin(), usable.end(), first)) return;
  Refuse(path, sensor, ExitCode::kUsage,
         "first_frame " + std::to_string(first) + " is no whole frame of " + sensor.capture +
             ": those are " + std::to_string(usable.front()) + " to " +
             std::to_string(usable.back()) + (partial ? "" : ", --partial takes others"));
}

FusedSensor Survey(const std::string& path, const ConfiguredSensor& sensor, bool partial,
                   const Console& console) {
  FusedSensor fused = {sensor, At(PlaceOf(path, sensor), [&] {
                         return MakeCapturePlan(MakeSource(sensor), console.Quiet());
                       })};
  const std::vector<int> usable = UsableFrames(fused.plan, partial);
  RequireFirstFrame(path, fused, partial, usable);
  fused.usable = usable.size();
  const int first = sensor.first_frame.value_or(usable.front());
  fused.entries.assign(std::lower_bound(usable.begin(), usable.end(), first), usable.end());
  return fused;
}

/// The datagrams that the driver takes, by sender and receiver.
auto Packets(const CapturePlan& plan) {
  std::set<std::tuple<std::uint32_t, std::uint16_t, std::uint32_t, std::uint16_t>> packets;
  for (const Flow& flow : plan.survey.flows) {
    if (flow.hindrance || flow.fits[ModelIndex(*plan.model)] == 0) continue;
    packets.emplace(flow.source, flow.source_port, flow.destination, flow.port);
  }
  return packets;
}

/// Of one recording of several sensors each has its own packets.
void RequireOwnPackets(const std::string& path, const FusedSensor& fused,
                       const FusedSensor& earlier) {
  std::error_code ignored;  // both have been read
  const std::string& capture = fused.sensor.capture;
  if (!std::filesystem::equivalent(capture, earlier.sensor.capture, ignored)) return;
  const auto theirs = Packets(earlier.plan);
  for (const auto& flow : Packets(fused.plan)) {
    if (theirs.count(flow) == 0) continue;
    Refuse(path, fused.sensor, ExitCode::kUsage,
           "takes the packets of " + capture + " that " + earlier.sensor.name +
               " takes too (to port " + std::to_string(std::get<3>(flow)) +
               "): give each of them its own port: or source:, orliq info shows them");
  }
}

FrameRange ChooseRounds(const std::string& frames, std::size_t possible) {
  const FrameRange range = ParseFrameRange(frames);
  const auto end = static_cast<int>(possible);
  if (range.first >= end) {
    throw Failure(ExitCode::kUsage, "--frames begins at " + std::to_string(range.first) +
                                        ", but the captures give " + Count(possible, "cloud") +
                                        ", counted from 0");
  }
  return {range.first, std::min(range.last.value_or(end), end)};
}

}  // namespace

std::size_t FusePlan::PossibleRounds() const {
  std::size_t possible = sensors.front().entries.size();
  for (const FusedSensor& fused : sensors) possible = std::min(possible, fused.entries.size());
  return possible;
}

std::vector<int> FusePlan::Entries(const FusedSensor& sensor) const {
  return {sensor.entries.begin() + rounds.first, sensor.entries.begin() + *rounds.last};
}

CaptureSource MakeSource(const ConfiguredSensor& sensor) {
  return {sensor.capture,          sensor.model,        sensor.port,
          sensor.source,           sensor.check_folder, kFileWords,
          "reading " + sensor.name};
}

FusePlan MakeFusePlan(const SensorFile& file, const std::string& frames, bool partial,
                      const Console& console) {
  ExamineSensors(file, console);
  FusePlan plan = {file.path, {}, {}};
  for (const ConfiguredSensor& sensor : file.sensors) {
    FusedSensor fused = Survey(file.path, sensor, partial, console);
    for (const FusedSensor& earlier : plan.sensors) RequireOwnPackets(file.path, fused, earlier);
    plan.sensors.push_back(std::move(fused));
  }
  plan.rounds = ChooseRounds(frames, plan.PossibleRounds());
  return plan;
}

FramesWanted MakeFramesWanted(const FusePlan& plan, const FusedSensor& sensor) {
  FramesWanted wanted = {sensor.sensor.name,
                         sensor.plan.model,
                         MakeDriverParam(sensor.sensor),
                         sensor.sensor.source,
                         0,
                         plan.Entries(sensor)};
  wanted.param.input_param.port = sensor.plan.scope.port;
  wanted.ahead = EntryAhead(sensor.plan, wanted.entries.front(),
                            static_cast<int>(sensor.plan.survey.frames.size()));
  return wanted;
}

void RequireWholeCaptures(const FusePlan& plan) {
  for (const FusedSensor& fused : plan.sensors) {
    At(PlaceOf(plan.path, fused.sensor),
       [&] { RequireWholeCapture(fused.sensor.capture, fused.plan.survey); });
  }
}

}  // namespace orliq::cli
