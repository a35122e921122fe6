// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace orliq::sim {

/// Who sends to whom. Addresses are IPv4 in dotted form.
struct UdpFlow {
  std::string source_ip = "192.168.1.200";
  std::uint16_t source_port = 2368;
  std::string destination_ip = "192.168.1.102";
  std::uint16_t destination_port = 2368;
};

/// The same for one datagram, as it is on the wire.
struct UdpEndpoints {
  std::array<std::uint8_t, 4> source{};       ///< IPv4 address
  std::array<std::uint8_t, 4> destination{};  ///< IPv4 address
  std::uint16_t source_port = 0;
  std::uint16_t destination_port = 0;
};

/// Wraps UDP payloads into Ethernet frames with plain 42-byte headers and correct checksums.
class UdpFramer {
 public:
  static constexpr std::size_t kMaxPayload = 65535 - 20 - 8;  // [bytes] IPv4 counts to 65535

  /// Empty when an address does not parse.
  static std::optional<UdpFramer> Create(const UdpFlow& flow);

  /// The frame of a payload of at most kMaxPayload bytes. Datagrams are numbered as they come.
  std::vector<std::uint8_t> Frame(const std::vector<std::uint8_t>& payload) {
    return Frame(payload, flow_);
  }

  /// The same for a datagram of another flow.
  std::vector<std::uint8_t> Frame(const std::vector<std::uint8_t>& payload,
                                  const UdpEndpoints& endpoints);

 private:
  UdpFramer() = default;

  UdpEndpoints flow_;
  std::uint16_t number_ = 0;  // IPv4 identification
};

}  // namespace orliq::sim
