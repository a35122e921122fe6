// SPDX-License-Identifier: Apache-2.0
#include <algorithm>
#include <cmath>

#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/fuse/FuseTally.h"

namespace orliq::cli {
namespace {

const std::string& NameOf(const FuseTally& tally, std::size_t sensor) {
  return tally.plan->sensors[sensor].sensor.name;
}

/// [s] that a frame takes by the share of its packets in the capture.
double TimeInCapture(const CaptureSurvey& survey, int frame) {
  std::uint64_t packets = 0;
  for (const FrameRecords& records : survey.frames) packets += records.packets;
  const auto own = survey.frames[static_cast<std::size_t>(frame)].packets;
  return survey.Duration() * static_cast<double>(own) / static_cast<double>(packets);
}

/// [s] from one frame of the sensor to the next, by its own time: the median of those that were fused.
/// A single one does not tell.
double FrameTime(const FuseTally& tally, std::size_t sensor) {
  std::vector<double> times;
  const auto& clouds = tally.clouds;
  for (std::size_t i = 1; i < clouds.size(); ++i) {
    const FusedShare& before = clouds[i - 1].sensors[sensor];
    const FusedShare& now = clouds[i].sensors[sensor];
    if (now.frame == before.frame + 1) times.push_back(now.timestamp - before.timestamp);
  }
  if (times.empty()) {
    return TimeInCapture(tally.plan->sensors[sensor].plan.survey,
                         clouds.front().sensors[sensor].frame);
  }
  std::sort(times.begin(), times.end());
  return times[times.size() / 2];
}

/// The sensor with the latest frame of a cloud.
std::size_t Latest(const FusedCloud& cloud) {
  const auto by_time = [](const FusedShare& a, const FusedShare& b) {
    return a.timestamp < b.timestamp;
  };
  return static_cast<std::size_t>(
      std::max_element(cloud.sensors.begin(), cloud.sensors.end(), by_time) -
      cloud.sensors.begin());
}

/// [s] by which a sensor's frame is older than the latest one; 0 when it has no time, or when half a
/// frame's time is not reached: no other frame of it would be nearer.
double Late(const FusedCloud& cloud, std::size_t sensor, double frame_time) {
  const double time = cloud.sensors[sensor].timestamp;
  if (!(time > 0.0) || !(frame_time > 0.0)) return 0.0;
  const double late = cloud.sensors[Latest(cloud)].timestamp - time;
  return late > frame_time / 2 ? late : 0.0;
}

/// Which first_frame brings the sensor nearest to the latest one.
std::string Remedy(const FusedSensor& fused, const std::string& latest, double late,
                   double frame_time) {
  const double frames = std::round(late / frame_time);
  const auto& entries = fused.entries;
  if (!(frames < static_cast<double>(entries.size()))) {
    return "the captures have no time in common, unless a clock is wrong";
  }
  return "first_frame: " + std::to_string(entries[static_cast<std::size_t>(frames)]) + " of " +
         fused.sensor.name + " is nearest to " + latest;
}

std::string LateText(const FuseTally& tally, const FusedCloud& cloud, std::size_t sensor,
                     double late) {
  return "the frame of " + NameOf(tally, sensor) + " is " + Fixed(late, 3) +
         " s older than that of " + NameOf(tally, Latest(cloud));
}

/// Frames that do not belong together from the first cloud on, or since a later one.
std::string TimeRemark(const FuseTally& tally, std::size_t sensor) {
  const double frame_time = FrameTime(tally, sensor);
  for (const FusedCloud& cloud : tally.clouds) {
    const double late = Late(cloud, sensor, frame_time);
    if (late <= 0.0) continue;
    const std::string where = "in cloud " + std::to_string(cloud.round) + ' ';
    const std::string text = where + LateText(tally, cloud, sensor, late) + ": ";
    const bool from_the_start = &cloud == &tally.clouds.front();
    return text + (from_the_start
                       ? Remedy(tally.plan->sensors[sensor], NameOf(tally, Latest(cloud)), late,
                                frame_time)
                       : "a frame of the latter is missing there, or a clock has jumped");
  }
  return {};
}

/// Of captures that are longer than the shortest, unless the user chose what is fused.
std::string UnusedText(const FuseTally& tally) {
  const FusePlan& plan = *tally.plan;
  const std::size_t rounds = plan.PossibleRounds();
  if (tally.interrupted || tally.clouds.size() < rounds) return {};
  std::string longer;
  std::string shortest;
  for (const FusedSensor& fused : plan.sensors) {
    const std::size_t left = fused.entries.size() - rounds;
    if (left == 0 && shortest.empty()) shortest = fused.sensor.name;
    if (left == 0) continue;
    longer += (longer.empty() ? "" : ", ") + Count(left, "frame") + " of " + fused.sensor.name;
  }
  if (longer.empty()) return {};
  return "unused: " + longer + ", as the capture of " + shortest + " ends before";
}

}  // namespace

std::vector<std::string> FuseRemarks(const FuseTally& tally) {
  std::vector<std::string> remarks = {UnusedText(tally)};
  for (std::size_t i = 0; i < tally.plan->sensors.size(); ++i) {
    const FusedSensor& fused = tally.plan->sensors[i];
    std::uint64_t non_zero = 0;
    for (const FusedCloud& cloud : tally.clouds) non_zero += cloud.sensors[i].non_zero;
    auto own = CaptureRemarks(fused.plan, fused.entries.front(), kFileWords);
    own.push_back(NothingMeasuredText(*fused.plan.model, tally.clouds.size(), non_zero));
    for (auto& remark : LossRemarks(tally.Packets(i), kFileWords)) own.push_back(remark);
    for (const std::string& remark : own) {
      if (!remark.empty()) remarks.push_back(fused.sensor.name + ": " + remark);
    }
    remarks.push_back(TimeRemark(tally, i));
  }
  return remarks;
}

}  // namespace orliq::cli
