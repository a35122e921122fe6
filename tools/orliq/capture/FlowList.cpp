// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/FlowList.h"

#include <algorithm>

namespace orliq::cli {
namespace {

constexpr std::size_t kIdentifierBytes = 8;

/// By its length and first bytes, also of a datagram that the driver cannot read.
void NoteFits(Flow& flow, const Datagram& datagram) {
  for (std::size_t i = 0; i < lidar::kSensorModels; ++i) {
    const Model& model = lidar::SensorModels()[i];
    if (datagram.present_bytes < model.identifier_bytes) continue;
    if (Fits(model, datagram.payload, datagram.payload_bytes)) ++flow.fits[i];
  }
}

Flow NewFlow(const UdpRecord& record) {
  const Datagram& datagram = *record.datagram;
  Flow flow;
  flow.hindrance = record.skip;
  flow.source = datagram.source;
  flow.destination = datagram.destination;
  flow.source_port = datagram.source_port;
  flow.port = datagram.port;
  flow.first_bytes.assign(datagram.payload,
                          datagram.payload + std::min(kIdentifierBytes, datagram.present_bytes));
  return flow;
}

}  // namespace

std::optional<std::size_t> FlowList::Add(const UdpRecord& record) {
  const Datagram& datagram = *record.datagram;
  const Key key = {datagram.port, datagram.source, datagram.source_port, datagram.destination,
                   record.skip};
  auto known = places_.find(key);
  if (known == places_.end()) {
    if (flows_.size() >= limit_) {
      ++in_further_flows_;
      return {};
    }
    known = places_.emplace(key, flows_.size()).first;
    flows_.push_back(NewFlow(record));
  }
  Flow& flow = flows_[known->second];
  ++flow.packets;
  const std::size_t size = datagram.payload_bytes;
  if (flow.sizes.size() < max_sizes_ || flow.sizes.count(size) > 0) ++flow.sizes[size];
  NoteFits(flow, datagram);
  if (datagram.present_bytes == datagram.payload_bytes) {
    flow.hints.Add(datagram.payload, datagram.payload_bytes);
  }
  return known->second;
}

}  // namespace orliq::cli
