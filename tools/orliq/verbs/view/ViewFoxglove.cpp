// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewFoxglove.h"

#include <utility>

#include "orliq/clouds/CloudParts.h"
#include "orliq/sensors/ClockWords.h"
#include "orliq/verbs/RosSensors.h"

namespace orliq::cli {
namespace {

constexpr double kPatience = 3.0;  // [s] without a packet, until a sensor counts as silent

std::vector<PublishedSensor> Published(const ViewedSource& source) {
  std::vector<PublishedSensor> published;
  published.reserve(source.sensors.size());
  for (const ViewedSensor& sensor : source.sensors) {
    published.push_back({sensor.name, sensor.model, sensor.param.decoder_param.transform_param,
                         source.entries == 0});
  }
  return published;
}

/// The driver has moved the points, but no sample; and samples are those of a sensor alone.
std::vector<RosSensor> Describe(const ViewedSource& source,
                                const std::vector<PublishedSensor>& published) {
  std::vector<RosSensor> described = DescribeForRos(published, kRobotFrame);
  for (std::size_t i = 0; i < described.size(); ++i) {
    RosSensor& sensor = described[i];
    sensor.imu_frame = sensor.frame;
    sensor.has_imu = sensor.has_imu && described.size() == 1;
    if (!source.sensors[i].model->transforms_points) continue;
    sensor.frame = kRobotFrame;
    sensor.origin = OriginOf(source.sensors[i].param);
  }
  return described;
}

RosStatus StatusOf(const NamedLedger& sensor, const std::string& silence) {
  const Ledger& ledger = sensor.ledger;
  const lidar::DriverStatistics& counts = ledger.counts;
  RosStatus status;
  status.name = "orliq view: " + sensor.name;
  status.hardware = ledger.model->name;
  status.message = Count(ledger.frames, "frame");
  const bool silent = counts.decoded == 0 || counts.last_packet_age_s > kPatience;
  if (!ledger.of_capture && silent && !silence.empty()) {
    status.level = RosLevel::kError;
    status.message = silence;
  }
  for (const LedgerRow& row : LedgerRows(ledger)) {
    if (!row.words.empty()) status.values.emplace_back(row.words, row.count);
  }
  if (!ledger.of_capture) {
    status.values.emplace_back("clock", JudgeClock(*ledger.model, counts.clock).text);
  }
  return status;
}

}  // namespace

ViewFoxglove::ViewFoxglove(const FoxgloveOptions& options, const ViewedSource& source)
    : outlet_(MakeFoxglove(options, source.entries > 0)) {
  const std::vector<PublishedSensor> published = Published(source);
  const std::vector<RosOutlet*> outlets = {outlet_.get()};
  feed_ = std::make_unique<RosFeed>(Describe(source, published), RosStamp::kPackets, outlets);
  OpenFoxglove(*outlet_);
  feed_->Tell(PosesForRos(published, kRobotFrame));
}

void ViewFoxglove::Show(const TakenCloud& cloud) {
  ForEachPart(cloud, [this](std::size_t sensor, TakenCloud part) {
    feed_->Of(sensor).Take(std::move(part));
  });
}

void ViewFoxglove::Tell(const std::vector<NamedLedger>& sensors, const std::string& silence) {
  std::vector<RosStatus> states;
  states.reserve(sensors.size());
  for (const NamedLedger& sensor : sensors) states.push_back(StatusOf(sensor, silence));
  feed_->Tell(states);
}

}  // namespace orliq::cli
