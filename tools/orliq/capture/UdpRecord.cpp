// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/UdpRecord.h"

#include <algorithm>

#include "input/Buffer.h"

namespace orliq::cli {

static_assert(kDriverBufferBytes == lidar::Buffer::kDefaultCapacity);

namespace {

// Positions in an Ethernet frame with an IPv4 header of 20 bytes.
constexpr std::size_t kEtherType = 12;
constexpr std::size_t kIpVersionAndLength = 14;
constexpr std::size_t kIpFlagsAndOffset = 20;
constexpr std::size_t kIpProtocol = 23;
constexpr std::size_t kIpSource = 26;
constexpr std::size_t kIpDestination = 30;
constexpr std::size_t kUdpSourcePort = 34;
constexpr std::size_t kUdpPort = 36;

constexpr unsigned kEtherIpv4 = 0x0800;
constexpr unsigned kEtherIpv6 = 0x86DD;
constexpr std::array<unsigned, 3> kEtherVlan = {0x8100, 0x88A8, 0x9100};
constexpr unsigned kIpv4WithoutOptions = 0x45;
constexpr unsigned kMoreFragmentsOrOffset = 0x3FFF;
constexpr unsigned kUdp = 17;

std::uint16_t Word(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8U | bytes[1]);
}

std::uint32_t Address(const std::uint8_t* bytes) {
  return static_cast<std::uint32_t>(Word(bytes)) << 16U | Word(bytes + 2);
}

}  // namespace

const std::array<SkipName, kSkips>& SkipNames() {
  static constexpr std::array<SkipName, kSkips> kNames = {{
      {"other_link_type", "not an Ethernet capture"},
      {"too_short", "shorter than 42 bytes of headers"},
      {"vlan", "VLAN tag: record the untagged interface"},
      {"ipv6", "IPv6"},
      {"not_udp", "not UDP"},
      {"fragment", "IP fragment"},
      {"ip_options", "IPv4 header with options"},
      {"other_port", "other destination port"},
      {"cut", "cut short by the capture's snap length"},
      {"too_large", "payload above 1546 bytes"},
  }};
  return kNames;
}

std::variant<Skip, Datagram> ReadUdpRecord(const std::uint8_t* bytes, std::size_t captured,
                                           std::size_t wire, const Wanted& wanted) {
  if (wire < kHeaderBytes) return Skip::kTooShort;
  if (captured < kHeaderBytes) return Skip::kCut;
  const unsigned type = Word(bytes + kEtherType);
  if (std::count(kEtherVlan.begin(), kEtherVlan.end(), type) > 0) return Skip::kVlan;
  if (type == kEtherIpv6) return Skip::kIpv6;
  if (type != kEtherIpv4 || bytes[kIpProtocol] != kUdp) return Skip::kNotUdp;
  if ((Word(bytes + kIpFlagsAndOffset) & kMoreFragmentsOrOffset) != 0) return Skip::kFragment;
  if (bytes[kIpVersionAndLength] != kIpv4WithoutOptions) return Skip::kIpOptions;

  const Datagram datagram = {Address(bytes + kIpSource),   Address(bytes + kIpDestination),
                             Word(bytes + kUdpSourcePort), Word(bytes + kUdpPort),
                             bytes + kHeaderBytes,         wire - kHeaderBytes};
  if (wanted.port != 0 && datagram.port != wanted.port) return Skip::kOtherPort;
  if (captured < wire) return Skip::kCut;
  if (datagram.payload_bytes > wanted.max_payload_bytes) return Skip::kTooLarge;
  return datagram;
}

std::string DottedAddress(std::uint32_t address) {
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text +=
        (text.empty() ? "" : ".") + std::to_string(address >> static_cast<unsigned>(shift) & 0xFFU);
  }
  return text;
}

}  // namespace orliq::cli
