// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <tuple>
#include <vector>

#include "orliq/capture/FrameCounter.h"
#include "orliq/capture/ModelHints.h"
#include "orliq/capture/UdpRecord.h"
#include "orliq/sensors/Models.h"

namespace orliq::cli {

/// The datagrams that go from one address and port to another, in one arrangement.
struct Flow {
  std::uint32_t source = 0;
  std::uint32_t destination = 0;
  std::uint16_t source_port = 0;
  std::uint16_t port = 0;  ///< destination port
  std::uint64_t packets = 0;
  std::map<std::size_t, std::uint64_t> sizes;  ///< [bytes] of payload -> datagrams
  std::vector<std::uint8_t> first_bytes;       ///< up to 8 of the first datagram: its identifier
  std::array<std::uint64_t, lidar::kSensorModels>
      fits{};                        ///< datagrams that fit each model of lidar::SensorModels()
  ModelHints hints;                  ///< which of these models is the likelier
  std::optional<Skip> hindrance;     ///< why the driver cannot read them, if it cannot
  std::vector<FrameRecords> frames;  ///< of the model asked for, if it fits
};

/// Sorts datagrams by flow, in bounded memory: a port scan must not fill it.
class FlowList {
 public:
  /// Of more flows than `limit` the datagrams are only counted, and of a flow's `sizes` no more lengths
  /// than that are told apart.
  explicit FlowList(std::size_t limit, std::size_t sizes = std::numeric_limits<std::size_t>::max())
      : limit_(limit), max_sizes_(sizes) {}

  /// Takes a record that holds a datagram; the place of its flow in Flows, or nothing beyond the limit.
  std::optional<std::size_t> Add(const UdpRecord& record);

  const std::vector<Flow>& Flows() const { return flows_; }
  std::vector<Flow>& Flows() { return flows_; }
  std::uint64_t InFurtherFlows() const { return in_further_flows_; }

 private:
  using Key =
      std::tuple<std::uint16_t, std::uint32_t, std::uint16_t, std::uint32_t, std::optional<Skip>>;

  std::size_t limit_;
  std::size_t max_sizes_;
  std::vector<Flow> flows_;
  std::map<Key, std::size_t> places_;  // index into flows_
  std::uint64_t in_further_flows_ = 0;
};

}  // namespace orliq::cli
