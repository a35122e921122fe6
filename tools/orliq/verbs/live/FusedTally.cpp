// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/FusedTally.h"

#include <algorithm>
#include <tuple>

#include "orliq/network/HostNetwork.h"
#include "orliq/sensors/ClockWords.h"
#include "orliq/terminal/PlainText.h"
#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/Ledger.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {
namespace {

std::string Milliseconds(double seconds) {
  return Fixed(1e3 * seconds, 1);
}

std::string ListenedOn(const ConfiguredSensor& sensor) {
  return EndpointText(sensor.address, sensor.port.value_or(0));
}

void AddLeftOutRows(Report& report, const FusedTally& tally) {
  const auto& [points, kept] = std::tie(tally.counts.partial_points, tally.keeps_partial);
  Json partial = Json::Array();
  if (points > 0) partial.Add({{"frame", 0}, {"points", points}, {"kept", kept}});
  report.Add("partial_clouds", points > 0 ? "Partial clouds" : "", std::move(partial),
             (kept ? "kept: 0 with " : "left out: 0 with ") + Count(points, "point"));
  const auto& [before, empty] =
      std::tie(tally.counts.clouds_before_tables, tally.counts.empty_clouds);
  report.Add("clouds_before_tables", before > 0 ? "Before tables" : "", before,
             "left out: " + Count(before, "cloud"));
  report.Add("empty_clouds", empty > 0 ? "Empty clouds" : "", empty, Grouped(empty));
}

void AddCloudRows(Report& report, const FusedTally& tally) {
  const CloudSums& clouds = tally.counts.clouds;
  const double rate = clouds.Rate();
  report.Add("fused_clouds", "Fused clouds", clouds.count,
             Grouped(clouds.count) + (rate > 0.0 ? ", " + Fixed(rate, 1) + " clouds/s" : ""));
  report.Add("clouds_per_s", "", rate, "");
  AddLeftOutRows(report, tally);
  AddPointRows(report, clouds.points, clouds.non_zero);
  AddSpreadRow(report, clouds.min_points, clouds.median_points, clouds.max_points, "cloud");
  const auto& [skew, largest] = std::tie(tally.counts.median_skew_s, tally.counts.max_skew_s);
  report.Add("skew_s", clouds.count == 0 ? "" : "Skew", {{"median", skew}, {"max", largest}},
             Milliseconds(skew) + " / " + Milliseconds(largest) + " ms (median/max)");
}

Json SensorJson(const ConfiguredSensor& sensor, const SensorCounts& counts) {
  Report report;
  const auto add = [&report](const char* key, Json value) {
    report.Add(key, "", std::move(value), "");
  };
  const auto& [packets, frames] = std::tie(counts.packets, counts.frames);
  add("name", sensor.name);
  add("model", sensor.model->name);
  add("listened_on", ListenedOn(sensor));
  add("packets", packets.received);
  add("packets_decoded", packets.decoded);
  AddSenderRows(report, packets, sensor.source);
  if (packets.upload.state != lidar::UploadState::None) AddUploadRows(report, packets.upload);
  add("frames", frames.count);
  add("empty_frames", counts.empty_frames);
  add("frames_overwritten", counts.overwritten);
  add("points", frames.points);
  add("non_zero_points", frames.non_zero);
  AddSpreadRow(report, frames.min_points, frames.median_points, frames.max_points);
  add("age_s", {{"median", counts.median_age_s}, {"max", counts.max_age_s}});
  AddClockRow(report, *sensor.model, packets.clock);
  AddLossRows(report, packets);
  Json json = report.AsJson();
  json["ledger"] = LedgerJson({sensor.model, packets, frames.count});
  return json;
}

std::vector<std::string> SensorCells(const ConfiguredSensor& sensor, const SensorCounts& counts) {
  const CloudSums& frames = counts.frames;
  const std::string min = Grouped(frames.min_points), max = Grouped(frames.max_points);
  return {sensor.name,
          sensor.model->name,
          Grouped(frames.count + counts.empty_frames),
          Grouped(counts.overwritten),
          min == max ? min : min + '-' + max,
          Milliseconds(counts.median_age_s)};
}

void AddSensorTable(Report& report, const FusedTally& tally) {
  Table table = {"Sensors",
                 {"name", "model", "frames", "overwritten", "points/frame", "age [ms]"},
                 {false, false, true, true, true, true},
                 {}};
  Json sensors = Json::Array();
  for (std::size_t i = 0; i < tally.file->sensors.size(); ++i) {
    const ConfiguredSensor& sensor = tally.file->sensors[i];
    const SensorCounts& counts = tally.counts.sensors[i];
    sensors.Add(SensorJson(sensor, counts));
    table.rows.push_back(SensorCells(sensor, counts));
  }
  report.Add("sensors", std::move(sensors), std::move(table));
}

void AddLedgersAndClocks(Report& report, const FusedTally& tally) {
  std::vector<NamedLedger> ledgers;
  Table clocks = {"Clocks", {"", ""}, {false, false}, {}};
  for (std::size_t i = 0; i < tally.file->sensors.size(); ++i) {
    const ConfiguredSensor& sensor = tally.file->sensors[i];
    const lidar::DriverStatistics& packets = tally.counts.sensors[i].packets;
    ledgers.push_back({sensor.name, {sensor.model, packets}});
    clocks.rows.push_back({sensor.name, JudgeClock(*sensor.model, packets.clock).text});
  }
  AddLedgerTables(report, ledgers);
  report.Add(std::move(clocks));
}

}  // namespace

bool FusedTally::HasLosses() const {
  const auto& [sensors, not_written] = std::tie(counts.sensors, counts.not_written);
  return not_written.Any() ||
         std::any_of(sensors.begin(), sensors.end(),
                     [](const SensorCounts& sensor) { return cli::HasLosses(sensor.packets); });
}

Report FusedTally::MakeReport() const {
  Report report;
  report.Add("config", "Sensors", file->path,
             Grouped(file->sensors.size()) + " of " + PlainText(file->path));
  report.Add("seconds", "Time", seconds, Fixed(seconds, 1) + " s");
  report.Add("interrupted", "", interrupted, "");
  AddCloudRows(report, *this);
  AddFileRows(report, files, counts.not_written, "cloud");
  AddSensorTable(report, *this);
  AddLedgersAndClocks(report, *this);
  return report;
}

}  // namespace orliq::cli
