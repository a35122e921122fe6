// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/CommonRows.h"

#include <utility>

namespace orliq::cli {

void AddReceptionRows(Report& report, const Reception& reception) {
  const auto& [where, seconds, active, packets, rate] = reception;
  report.Add("listened_on", "Listened on", where, where);
  report.Add("seconds", "Time", seconds,
             Fixed(seconds, 1) + " s, packets during " + Fixed(active, 1) + " s");
  report.Add("seconds_with_packets", "", active, "");
  report.Add("packets", "Packets", packets,
             Grouped(packets) + ", " + Fixed(rate, 1) + " packets/s");
  report.Add("packets_per_s", "", rate, "");
}

void AddPointRows(Report& report, std::uint64_t points, std::uint64_t non_zero) {
  const double share =
      points > 0 ? 100.0 * static_cast<double>(non_zero) / static_cast<double>(points) : 0.0;
  report.Add("points", "Points", points, Grouped(points));
  report.Add("non_zero_points", "Non-zero points", non_zero,
             Grouped(non_zero) + " (" + Fixed(share, 1) + " %)");
}

Json SpreadJson(std::uint64_t min, std::uint64_t median, std::uint64_t max) {
  return {{"min", min}, {"median", median}, {"max", max}};
}

void AddSpreadRow(Report& report, std::uint64_t min, std::uint64_t median, std::uint64_t max,
                  const std::string& of) {
  report.Add("points_per_" + of, max == 0 ? "" : "Points per " + of, SpreadJson(min, median, max),
             Grouped(min) + " / " + Grouped(median) + " / " + Grouped(max) + " (min/median/max)");
}

std::string NothingMeasuredText(const Model& model, std::uint64_t clouds, std::uint64_t non_zero) {
  if (!model.decodes_points || clouds == 0 || non_zero > 0) return {};
  return "no return lies within the limits: if they are wide enough, the packets are perhaps not "
         "of " +
         std::string(model.name) + " (orliq info tells what recorded ones look like)";
}

std::string NoneOr(std::uint64_t count, const std::string& text, std::uint64_t other,
                   const std::string& other_text) {
  if (count + other == 0) return "none";
  return Grouped(count) + ' ' + text + ", " + Grouped(other) + ' ' + other_text;
}

void AddFaultRows(Report& report, const char* key, const char* title,
                  const std::vector<FaultCount>& faults) {
  Table table = {title, {"", ""}, {true, false}, {}};
  Json json = Json::Object();
  for (const FaultCount& fault : faults) {
    json[fault.key] = fault.count;
    if (fault.count > 0) table.rows.push_back({Grouped(fault.count), fault.words});
  }
  if (table.rows.empty()) {
    report.Add(key, "", std::move(json), "");
  } else {
    report.Add(key, std::move(json), std::move(table));
  }
}

std::string FilesText(const CloudSink& sink, const std::string& out) {
  return sink.Contents() + " in " + out + ", " + Megabytes(sink.Bytes());
}

}  // namespace orliq::cli
