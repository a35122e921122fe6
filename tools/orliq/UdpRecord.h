// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>
#include <variant>

namespace orliq::cli {

/// Why a record of a capture cannot be played. The driver takes the payload from byte 42 of an
/// Ethernet frame (14 + 20 of IPv4 + 8 of UDP), so every other arrangement is lost to it.
enum class Skip : std::size_t {
  kOtherLinkType,  ///< the capture is not of Ethernet frames
  kTooShort,       ///< shorter than the 42 bytes of headers
  kVlan,           ///< headers longer by a VLAN tag
  kIpv6,
  kNotUdp,
  kFragment,   ///< one piece of a datagram that IP has split
  kIpOptions,  ///< IPv4 header longer than 20 bytes
  kOtherPort,
  kCut,      ///< the capture was made with a snap length below the packet
  kTooLarge  ///< larger than a driver's buffer
};
constexpr std::size_t kSkips = 10;

constexpr std::size_t kHeaderBytes = 42;
constexpr std::size_t kMaxPayloadBytes = 1546;  // a driver's buffer

/// A word for programs ("other_port") and a phrase for people, in the order of Skip.
struct SkipName {
  const char* key;
  const char* text;
};
const std::array<SkipName, kSkips>& SkipNames();

/// A UDP datagram inside a record; `payload` points into the record.
struct Datagram {
  std::uint32_t source;       ///< IPv4 address, first octet in the high byte
  std::uint32_t destination;  ///< IPv4 address, first octet in the high byte
  std::uint16_t source_port;
  std::uint16_t port;  ///< destination port
  const std::uint8_t* payload;
  std::size_t payload_bytes;
};

/// Reads one record of a capture: `captured` bytes of the `wire` bytes that the packet had. `port`
/// 0 takes every destination port.
std::variant<Skip, Datagram> ReadUdpRecord(const std::uint8_t* bytes, std::size_t captured,
                                           std::size_t wire, std::uint16_t port);

/// "192.168.1.200"
std::string DottedAddress(std::uint32_t address);

}  // namespace orliq::cli
