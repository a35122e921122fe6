// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/bridge/BridgeStatus.h"

#include <unistd.h>

#include <array>

#include "orliq/network/HostNetwork.h"
#include "orliq/sensors/ClockWords.h"
#include "orliq/verbs/live/SensorRows.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {
namespace {

std::string HostName() {
  std::array<char, 256> name = {};
  return ::gethostname(name.data(), name.size() - 1) == 0 ? name.data() : "?";
}

std::uint64_t LostOf(const lidar::DriverStatistics& packets) {
  return packets.refused_length + packets.refused_identifier + packets.dropped_by_kernel +
         packets.dropped_by_limit;
}

std::string RateText(const BridgeMoments& moments) {
  const auto frames = static_cast<double>(moments.now.frames.count - moments.before.frames.count);
  return Fixed(moments.seconds > 0.0 ? frames / moments.seconds : 0.0, 1);
}

void Judge(RosStatus& status, const BridgeMoments& moments) {
  const lidar::DriverStatistics& packets = moments.now.packets;
  const std::uint64_t lost = LostOf(packets) - LostOf(moments.before.packets);
  status.message = RateText(moments) + " frames/s";
  const std::string& fault = moments.refusal.empty() ? moments.silence : moments.refusal;
  if (!fault.empty()) {
    status.level = RosLevel::kError;
    status.message = fault;
  } else if (LacksTables(packets)) {
    status.level = RosLevel::kWarn;
    status.message = "waits for its tables: " + UploadShare(packets.upload);
  } else if (lost > 0) {
    status.level = RosLevel::kWarn;
    status.message += ", " + Count(lost, "packet") + " lost or refused";
  }
}

}  // namespace

Ledger LedgerOf(const ConfiguredSensor& sensor, const LiveCounts& counts) {
  const lidar::DriverStatistics& packets = counts.packets;
  return {sensor.model, packets, counts.frames.count, !sensor.IsLive(), packets.decoded};
}

RosStatus StatusOf(const ConfiguredSensor& sensor, const std::string& topic,
                   const BridgeMoments& moments) {
  const LiveCounts& now = moments.now;
  RosStatus status;
  status.name = kBridgeState + sensor.name;
  status.hardware = sensor.model->name;
  Judge(status, moments);
  status.values = {
      {"computer", HostName()},
      {"process", std::to_string(::getpid())},
      {"topic", topic},
      {"frame", sensor.name},
      {"source",
       sensor.IsLive() ? EndpointText(sensor.address, sensor.port.value_or(0)) : sensor.capture},
      {"frames/s", RateText(moments)}};
  for (const LedgerRow& row : LedgerRows(LedgerOf(sensor, now))) {
    if (!row.words.empty()) status.values.emplace_back(row.words, row.count);
  }
  if (sensor.IsLive()) {
    status.values.emplace_back("clock", JudgeClock(*sensor.model, now.packets.clock).text);
  }
  return status;
}

}  // namespace orliq::cli
