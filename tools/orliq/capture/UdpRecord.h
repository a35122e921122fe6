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
  kTooLarge  ///< larger than is wanted: than a driver's buffer
};
constexpr std::size_t kSkips = 10;

constexpr std::size_t kHeaderBytes = 42;
constexpr std::size_t kDriverBufferBytes = 1546;

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

/// Which datagrams of a capture are wanted.
struct Wanted {
  std::uint16_t port = 0;  ///< destination; 0: any
  std::size_t max_payload_bytes = kDriverBufferBytes;
};

/// Reads one record of a capture: `captured` bytes of the `wire` bytes that the packet had.
std::variant<Skip, Datagram> ReadUdpRecord(const std::uint8_t* bytes, std::size_t captured,
                                           std::size_t wire, const Wanted& wanted);

/// "192.168.1.200"
std::string DottedAddress(std::uint32_t address);

}  // namespace orliq::cli
