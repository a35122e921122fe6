// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/bridge/BridgeReport.h"

#include <algorithm>

#include "orliq/network/HostNetwork.h"
#include "orliq/verbs/bridge/BridgeStatus.h"
#include "orliq/verbs/live/SensorRows.h"

namespace orliq::cli {
namespace {

Json SensorJson(const BridgedSensor& bridged) {
  const ConfiguredSensor& sensor = *bridged.sensor;
  const auto& [clouds, samples, clouds_left_out, samples_left_out] = bridged.published;
  const lidar::DriverStatistics& packets = bridged.counts.packets;
  Report report;
  const auto add = [&report](const char* key, Json value) {
    report.Add(key, "", std::move(value), "");
  };
  add("name", sensor.name);
  add("model", sensor.model->name);
  add("topic", bridged.topic);
  add("frames", bridged.counts.frames.count);
  add("clouds_published", clouds);
  add("clouds_left_out", clouds_left_out);
  add("samples_published", samples);
  add("samples_left_out", samples_left_out);
  if (sensor.IsLive()) {
    add("listened_on", EndpointText(sensor.address, sensor.port.value_or(0)));
    add("packets", packets.received);
    add("packets_decoded", packets.decoded);
    AddSenderRows(report, packets, sensor.source);
    AddClockRow(report, *sensor.model, packets.clock);
    AddLossRows(report, packets);
  }
  Json json = report.AsJson();
  json["ledger"] = LedgerJson(LedgerOf(sensor, bridged.counts));
  return json;
}

std::vector<std::string> SensorCells(const BridgedSensor& bridged) {
  const RosFeed::Sums& published = bridged.published;
  return {bridged.topic,
          bridged.sensor->model->name,
          Grouped(bridged.counts.frames.count),
          Grouped(published.clouds),
          Grouped(published.clouds_left_out),
          Grouped(published.samples)};
}

bool LosesAny(const BridgedSensor& bridged) {
  const RosFeed::Sums& published = bridged.published;
  return HasLosses(bridged.counts.packets) ||
         published.clouds_left_out + published.samples_left_out > 0;
}

}  // namespace

bool BridgeTally::HasLosses() const {
  return refused > 0 || std::any_of(sensors.begin(), sensors.end(), LosesAny);
}

Report BridgeTally::MakeReport() const {
  Report report;
  report.Add("seconds", "Time", seconds, Fixed(seconds, 1) + " s");
  report.Add("interrupted", "", interrupted, "");
  report.Add("messages_refused", refused > 0 ? "Not sent" : "", refused, Count(refused, "message"));
  if (viewers) AddFoxgloveRows(report, *viewers);
  Table table = {"Sensors",
                 {"topic", "model", "frames", "published", "left out", "IMU"},
                 {false, false, true, true, true, true},
                 {}};
  Json list = Json::Array();
  std::vector<NamedLedger> ledgers;
  for (const BridgedSensor& bridged : sensors) {
    list.Add(SensorJson(bridged));
    table.rows.push_back(SensorCells(bridged));
    ledgers.push_back({bridged.sensor->name, LedgerOf(*bridged.sensor, bridged.counts)});
  }
  report.Add("sensors", std::move(list), std::move(table));
  AddLedgerTables(report, ledgers);
  return report;
}

}  // namespace orliq::cli
