// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/bridge/BridgeSite.h"

#include <utility>

#include "orliq/verbs/RosSensors.h"

namespace orliq::cli {
namespace {

std::vector<PublishedSensor> Published(const std::vector<ConfiguredSensor>& sensors) {
  std::vector<PublishedSensor> published;
  published.reserve(sensors.size());
  for (const ConfiguredSensor& sensor : sensors) {
    published.push_back(
        {sensor.name, sensor.model, sensor.decoder.transform_param, sensor.IsLive()});
  }
  return published;
}

std::string DdsText(const DdsSettings& settings) {
  return "DDS domain " + std::to_string(settings.domain) +
         (settings.loopback_only ? " on this machine only" : "") +
         (settings.reliable ? ", reliable" : ", best effort");
}

}  // namespace

BridgeSite::BridgeSite(const PublishOptions& options, const std::vector<ConfiguredSensor>& sensors,
                       const Console& console) {
  const std::vector<PublishedSensor> published = Published(sensors);
  std::vector<RosSensor> described = DescribeForRos(published, options.base);
  for (const RosSensor& sensor : described) topics_.push_back('/' + sensor.name + "/points");
  std::vector<RosOutlet*> outlets;
  if (options.dds) {
    DdsSettings settings = DdsSettingsOfRos();
    settings.reliable = options.reliable;
    dds_ = std::make_unique<DdsOutlet>(settings);
    outlets.push_back(dds_.get());
    console.Announce("publishing over " + DdsText(settings));
  }
  foxglove_ = MakeFoxglove(options.foxglove, false);
  if (foxglove_) outlets.push_back(foxglove_.get());
  feed_ = std::make_unique<RosFeed>(std::move(described), options.stamp, std::move(outlets));
  if (foxglove_) OpenFoxglove(*foxglove_);
  feed_->Tell(PosesForRos(published, options.base));
}

std::uint64_t BridgeSite::Refused() const {
  return dds_ ? dds_->Refused() : 0;
}

std::optional<FoxgloveOutlet::Sums> BridgeSite::ReadViewers() const {
  if (!foxglove_) return std::nullopt;
  return foxglove_->Read();
}

}  // namespace orliq::cli
