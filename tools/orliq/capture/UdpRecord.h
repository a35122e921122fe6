// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>

namespace orliq::cli {

/// Why a record of a capture is not played. The driver takes the payload from byte 42 of an Ethernet
/// frame (14 + 20 of IPv4 + 8 of UDP), so every other arrangement is lost to it.
enum class Skip : std::size_t {
  kOtherLinkType,  ///< the capture is not of Ethernet frames
  kTooShort,       ///< ends within its headers
  kVlan,           ///< headers longer by a VLAN tag
  kIpv6,
  kNotUdp,
  kFragment,    ///< first piece of a datagram that IP has split: it holds the ports
  kLaterPiece,  ///< any other piece, which does not tell where it goes
  kIpOptions,   ///< IPv4 header longer than 20 bytes
  kOtherPort,
  kOtherSource,
  kCut,      ///< the capture was made with a snap length below the packet
  kTooLarge  ///< larger than is wanted: than a driver's buffer
};
constexpr std::size_t kSkips = 12;

constexpr std::size_t kHeaderBytes = 42;
constexpr std::size_t kDriverBufferBytes = 1546;

/// A word for programs ("other_port") and a phrase for people, in the order of Skip.
struct SkipName {
  const char* key;
  const char* text;
  bool loss;  ///< a datagram of the sensor may be lost with it; else it is other traffic
};
const std::array<SkipName, kSkips>& SkipNames();
inline const SkipName& NameOf(Skip reason) {
  return SkipNames()[static_cast<std::size_t>(reason)];
}

/// A UDP datagram inside a record; `payload` points into the record.
struct Datagram {
  std::uint32_t source;       ///< IPv4 address, first octet in the high byte; 0 for IPv6
  std::uint32_t destination;  ///< likewise
  std::uint16_t source_port;
  std::uint16_t port;  ///< destination port
  const std::uint8_t* payload;
  std::size_t payload_bytes;  ///< of the whole datagram
  std::size_t present_bytes;  ///< of them, behind `payload`: fewer for a cut or split datagram
};

/// What stands in a record. A datagram that the driver cannot read has both members.
struct UdpRecord {
  std::optional<Skip> skip;          ///< nothing: the driver can read `datagram`
  std::optional<Datagram> datagram;  ///< as far as it is wanted and its headers are there
};

/// Which datagrams of a capture are wanted.
struct Wanted {
  std::uint16_t port = 0;  ///< destination; 0: any
  std::size_t max_payload_bytes = kDriverBufferBytes;
  std::uint32_t source = 0;  ///< IPv4 address of the sender; 0: any
};

/// Reads one record of a capture: `captured` bytes of the `wire` bytes that the packet had. What is
/// not wanted counts as such whatever its arrangement.
UdpRecord ReadUdpRecord(const std::uint8_t* bytes, std::size_t captured, std::size_t wire,
                        const Wanted& wanted);

/// "192.168.1.200"; "IPv6" for 0.
std::string DottedAddress(std::uint32_t address);

/// "192.168.1.200:2368"
std::string Endpoint(std::uint32_t address, std::uint16_t port);

/// The address of a text; nothing for a text that is no IPv4 address of a host.
std::optional<std::uint32_t> ParseAddress(const std::string& text);

}  // namespace orliq::cli
