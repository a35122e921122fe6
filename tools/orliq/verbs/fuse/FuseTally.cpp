// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/fuse/FuseTally.h"

#include <algorithm>
#include <utility>

#include "orliq/capture/SurveyText.h"
#include "orliq/clouds/PointSpread.h"
#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {
namespace {

/// [s]; of an even number the larger one of the two in the middle, as of points.
struct TimesApart {
  double median, max;
};
std::optional<TimesApart> FindTimesApart(const std::vector<FusedCloud>& clouds) {
  std::vector<double> times;
  for (const FusedCloud& cloud : clouds) {
    if (const auto apart = cloud.Apart()) times.push_back(*apart);
  }
  if (times.empty()) return std::nullopt;
  std::sort(times.begin(), times.end());
  return TimesApart{times[times.size() / 2], times.back()};
}

void AddApartRow(Report& report, const FuseTally& tally) {
  const auto apart = FindTimesApart(tally.clouds);
  report.Add("time_apart_s", apart ? "Time apart" : "",
             apart ? Json({{"median", apart->median}, {"max", apart->max}}) : Json(),
             apart ? Fixed(apart->median, 3) + " s median, " + Fixed(apart->max, 3) +
                         " s most, between the frames of a cloud"
                   : "");
}

void AddCloudRows(Report& report, const FuseTally& tally) {
  PointSpread spread;
  std::uint64_t points = 0;
  std::uint64_t non_zero = 0;
  for (const FusedCloud& cloud : tally.clouds) {
    if (cloud.Points() > 0) spread.Add(cloud.Points());
    points += cloud.Points();
    non_zero += cloud.NonZero();
  }
  const std::uint64_t empty = tally.clouds.size() - spread.Frames();
  report.Add("fused_clouds", "Fused clouds", spread.Frames(),
             Grouped(spread.Frames()) + (tally.interrupted ? ", interrupted" : ""));
  report.Add("empty_clouds", empty > 0 ? "Empty clouds" : "", empty, Grouped(empty));
  const int first = tally.plan->rounds.first;
  report.Add("rounds", "", {first, first + static_cast<int>(tally.clouds.size())}, "");
  report.Add("interrupted", "", tally.interrupted, "");
  AddPointRows(report, points, non_zero);
  AddSpreadRow(report, spread.Min(), spread.Median(), spread.Max(), "cloud");
}

PointSpread SpreadOf(const FuseTally& tally, std::size_t sensor) {
  PointSpread spread;
  for (const FusedCloud& cloud : tally.clouds) spread.Add(cloud.sensors[sensor].points);
  return spread;
}

Json SensorJson(const FuseTally& tally, std::size_t index) {
  const FusedSensor& fused = tally.plan->sensors[index];
  const PlayedPackets packets = tally.Packets(index);
  const auto& clouds = tally.clouds;
  const PointSpread spread = SpreadOf(tally, index);
  return {
      {"name", fused.sensor.name},
      {"model", fused.plan.model->name},
      {"capture", fused.sensor.capture},
      {"port", fused.plan.scope.port},
      {"senders", Senders(fused.plan.survey, *fused.plan.model, fused.plan.scope.port)},
      {"first_frame", clouds.front().sensors[index].frame},
      {"frames_used", clouds.size()},
      {"frames_unused", fused.usable - clouds.size()},
      {"points_per_frame", SpreadJson(spread.Min(), spread.Median(), spread.Max())},
      {"packets_decoded", packets.accepted},
      {"refused_length", packets.refused.length},
      {"refused_identifier", packets.refused.identifier},
      {"unreadable_packets", LostJson(packets.unreadable)},
      {"ledger", LedgerJson(tally.LedgerOf(index))},
  };
}

std::vector<std::string> SensorCells(const FuseTally& tally, std::size_t index) {
  const FusedSensor& fused = tally.plan->sensors[index];
  const PlayedPackets packets = tally.Packets(index);
  const PointSpread spread = SpreadOf(tally, index);
  return {fused.sensor.name,
          fused.plan.model->name,
          fused.sensor.capture,
          Grouped(tally.clouds.size()) + " of " + Grouped(fused.usable),
          std::to_string(tally.clouds.front().sensors[index].frame),
          Grouped(spread.Min()) + " / " + Grouped(spread.Median()) + " / " + Grouped(spread.Max()),
          LostText(packets.unreadable)};
}

void AddSensorTable(Report& report, const FuseTally& tally) {
  Table table = {"Sensors",
                 {"name", "model", "capture", "frames", "from", "points per frame", "unreadable"},
                 {false, false, false, true, true, true, false},
                 {}};
  Json list = Json::Array();
  for (std::size_t i = 0; i < tally.plan->sensors.size(); ++i) {
    table.rows.push_back(SensorCells(tally, i));
    list.Add(SensorJson(tally, i));
  }
  report.Add("sensors", std::move(list), std::move(table));
}

void AddLedgers(Report& report, const FuseTally& tally) {
  std::vector<NamedLedger> ledgers;
  for (std::size_t i = 0; i < tally.plan->sensors.size(); ++i) {
    ledgers.push_back({tally.plan->sensors[i].sensor.name, tally.LedgerOf(i)});
  }
  AddLedgerTables(report, ledgers);
}

Json CloudJson(const FusedCloud& cloud) {
  Json frames = Json::Array();
  for (const FusedShare& share : cloud.sensors) {
    frames.Add({{"frame", share.frame},
                {"timestamp", share.timestamp},
                {"points", share.points},
                {"non_zero_points", share.non_zero}});
  }
  const auto apart = cloud.Apart();
  return {{"round", cloud.round},
          {"points", cloud.Points()},
          {"non_zero_points", cloud.NonZero()},
          {"time_apart_s", apart ? Json(*apart) : Json()},
          {"file", cloud.file},
          {"frames", std::move(frames)}};
}

}  // namespace

std::uint64_t FusedCloud::Points() const {
  std::uint64_t points = 0;
  for (const FusedShare& share : sensors) points += share.points;
  return points;
}

std::uint64_t FusedCloud::NonZero() const {
  std::uint64_t non_zero = 0;
  for (const FusedShare& share : sensors) non_zero += share.non_zero;
  return non_zero;
}

std::optional<double> FusedCloud::Apart() const {
  std::vector<double> times;
  for (const FusedShare& share : sensors) {
    if (share.timestamp > 0.0) times.push_back(share.timestamp);  // as without time, it is 0
  }
  if (times.size() < 2) return std::nullopt;
  const auto [oldest, latest] = std::minmax_element(times.begin(), times.end());
  return *latest - *oldest;
}

Ledger FuseTally::LedgerOf(std::size_t sensor) const {
  return {plan->sensors[sensor].plan.model, counts[sensor], clouds.size(), true,
          Packets(sensor).accepted};
}

PlayedPackets FuseTally::Packets(std::size_t sensor) const {
  return FindPackets(plan->sensors[sensor].plan.survey.frames, clouds.front().sensors[sensor].frame,
                     clouds.back().sensors[sensor].frame + 1);
}

bool FuseTally::AnyLost() const {
  for (std::size_t i = 0; i < plan->sensors.size(); ++i) {
    if (Packets(i).AnyLost()) return true;
  }
  return false;
}

Report FuseTally::MakeReport() const {
  Report report;
  AddCloudRows(report, *this);
  AddApartRow(report, *this);
  report.Add("files_written", files.empty() ? "" : "Files", files_written, files);
  AddSensorTable(report, *this);
  AddLedgers(report, *this);
  Json list = Json::Array();
  for (const FusedCloud& cloud : clouds) list.Add(CloudJson(cloud));
  report.Add("clouds", "", std::move(list), "");
  return report;
}

}  // namespace orliq::cli
