// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/UdpRecord.h"

#include <arpa/inet.h>

#include <algorithm>

#include "input/Buffer.h"

namespace orliq::cli {

static_assert(kDriverBufferBytes == lidar::Buffer::kDefaultCapacity);

namespace {

constexpr std::size_t kMacBytes = 12;
constexpr unsigned kEtherIpv4 = 0x0800;
constexpr unsigned kEtherIpv6 = 0x86DD;
constexpr std::array<unsigned, 3> kEtherVlan = {0x8100, 0x88A8, 0x9100};
constexpr std::size_t kVlanTagBytes = 4;
constexpr std::size_t kIpv4Bytes = 20;  // without options
constexpr std::size_t kIpv6Bytes = 40;
constexpr std::size_t kUdpBytes = 8;
constexpr unsigned kMoreFragments = 0x2000;  // IPv4
constexpr unsigned kFragmentOffset = 0x1FFF;
constexpr unsigned kUdp = 17;
// Extension headers of IPv6, which say what follows in their first byte.
constexpr std::array<unsigned, 3> kIpv6Options = {0, 43, 60};
constexpr unsigned kIpv6Fragment = 44;

std::uint16_t Word(const std::uint8_t* bytes) {
  return static_cast<std::uint16_t>(bytes[0] << 8U | bytes[1]);
}

std::uint32_t Address(const std::uint8_t* bytes) {
  return static_cast<std::uint32_t>(Word(bytes)) << 16U | Word(bytes + 2);
}

/// Goes through the headers of a record to the UDP payload, noting the first of them that stands in
/// the driver's way. Each step answers false when there is no way on; `skip` then tells why.
class HeaderReader {
 public:
  HeaderReader(const std::uint8_t* bytes, std::size_t captured, std::size_t wire)
      : bytes_(bytes), captured_(captured), wire_(wire) {}

  UdpRecord Read() {
    if (!ReadEthernet() || !(ipv6_ ? ReadIpv6() : ReadIpv4()) || !ReadUdp()) return {skip_, {}};
    return {skip_, datagram_};
  }

 private:
  /// Whether the next `size` bytes are there.
  bool Need(std::size_t size) {
    if (captured_ - at_ >= size) return true;
    skip_ = wire_ - at_ >= size ? Skip::kCut : Skip::kTooShort;
    return false;
  }

  bool End(Skip reason) {
    skip_ = reason;
    return false;
  }

  void Hinder(Skip reason) {
    if (!skip_) skip_ = reason;
  }

  bool ReadEthernet() {
    if (!Need(kMacBytes + 2)) return false;
    at_ = kMacBytes;
    while (IsOneOf(kEtherVlan, Word(bytes_ + at_))) {
      if (!Need(kVlanTagBytes + 2)) return false;
      at_ += kVlanTagBytes;
      Hinder(Skip::kVlan);
    }
    const unsigned type = Word(bytes_ + at_);
    at_ += 2;
    ipv6_ = type == kEtherIpv6;
    return ipv6_ || type == kEtherIpv4 || End(Skip::kNotUdp);
  }

  bool ReadIpv4() {
    if (!Need(kIpv4Bytes)) return false;
    const std::uint8_t* const header = bytes_ + at_;
    if (header[9] != kUdp || header[0] >> 4U != 4) return End(Skip::kNotUdp);
    const unsigned fragment = Word(header + 6);
    if ((fragment & kFragmentOffset) != 0) return End(Skip::kLaterPiece);
    datagram_.source = Address(header + 12);
    datagram_.destination = Address(header + 16);
    const std::size_t header_bytes = std::size_t{4} * (header[0] & 0x0FU);
    if (header_bytes < kIpv4Bytes) return End(Skip::kNotUdp);
    if (header_bytes > kIpv4Bytes) Hinder(Skip::kIpOptions);
    split_ = (fragment & kMoreFragments) != 0;
    return Advance(header_bytes);
  }

  bool ReadIpv6() {
    if (!Need(kIpv6Bytes)) return false;
    Hinder(Skip::kIpv6);
    unsigned next = bytes_[at_ + 6];
    at_ += kIpv6Bytes;
    while (next != kUdp) {
      if (!Need(8)) return false;
      const std::uint8_t* const header = bytes_ + at_;
      const bool fragment = next == kIpv6Fragment;
      if (!fragment && !IsOneOf(kIpv6Options, next)) return End(Skip::kNotUdp);
      if (fragment && Word(header + 2) >> 3U != 0) return End(Skip::kLaterPiece);
      split_ = split_ || fragment;
      next = header[0];
      if (!Advance(fragment ? 8 : 8 * (header[1] + std::size_t{1}))) return false;
    }
    return true;
  }

  bool ReadUdp() {
    if (!Need(kUdpBytes)) return false;
    const std::uint8_t* const header = bytes_ + at_;
    datagram_.source_port = Word(header);
    datagram_.port = Word(header + 2);
    const std::size_t claimed = std::max<std::size_t>(Word(header + 4), kUdpBytes) - kUdpBytes;
    at_ += kUdpBytes;
    if (split_) Hinder(Skip::kFragment);
    datagram_.payload = bytes_ + at_;
    // The driver takes a datagram to be as long as its record; otherwise the header has to say.
    datagram_.payload_bytes = skip_ ? claimed : wire_ - at_;
    datagram_.present_bytes = std::min(captured_ - at_, datagram_.payload_bytes);
    if (captured_ < wire_) Hinder(Skip::kCut);
    return true;
  }

  bool Advance(std::size_t size) {
    if (!Need(size)) return false;
    at_ += size;
    return true;
  }

  template <std::size_t N>
  static bool IsOneOf(const std::array<unsigned, N>& list, unsigned value) {
    return std::find(list.begin(), list.end(), value) != list.end();
  }

  const std::uint8_t* bytes_;
  std::size_t captured_;
  std::size_t wire_;
  std::size_t at_ = 0;
  bool ipv6_ = false;
  bool split_ = false;
  std::optional<Skip> skip_;
  Datagram datagram_ = {};
};

}  // namespace

const std::array<SkipName, kSkips>& SkipNames() {
  static constexpr std::array<SkipName, kSkips> kNames = {{
      {"other_link_type", "not an Ethernet capture", true},
      {"too_short", "shorter than its headers", false},
      {"vlan", "VLAN tag: record the untagged interface", true},
      {"ipv6", "IPv6", true},
      {"not_udp", "not UDP", false},
      {"fragment", "datagram in fragments", true},
      {"later_fragment", "further fragment of a datagram", false},
      {"ip_options", "IPv4 header with options", true},
      {"other_port", "other destination port", false},
      {"other_source", "other sender", false},
      {"cut", "cut short by the capture's snap length", true},
      {"too_large", "payload above 1546 bytes", true},
  }};
  return kNames;
}

UdpRecord ReadUdpRecord(const std::uint8_t* bytes, std::size_t captured, std::size_t wire,
                        const Wanted& wanted) {
  UdpRecord record = HeaderReader(bytes, std::min(captured, wire), wire).Read();
  if (!record.datagram) return record;
  const Datagram& datagram = *record.datagram;
  if (wanted.port != 0 && datagram.port != wanted.port) return {Skip::kOtherPort, {}};
  if (wanted.source != 0 && datagram.source != wanted.source) return {Skip::kOtherSource, {}};
  if (!record.skip && datagram.payload_bytes > wanted.max_payload_bytes) {
    record.skip = Skip::kTooLarge;
  }
  return record;
}

std::string DottedAddress(std::uint32_t address) {
  if (address == 0) return "IPv6";
  std::string text;
  for (int shift = 24; shift >= 0; shift -= 8) {
    text +=
        (text.empty() ? "" : ".") + std::to_string(address >> static_cast<unsigned>(shift) & 0xFFU);
  }
  return text;
}

std::string Endpoint(std::uint32_t address, std::uint16_t port) {
  return DottedAddress(address) + ':' + std::to_string(port);
}

std::optional<std::uint32_t> ParseAddress(const std::string& text) {
  in_addr address = {};
  if (::inet_pton(AF_INET, text.c_str(), &address) != 1 || address.s_addr == 0) return {};
  return ntohl(address.s_addr);
}

}  // namespace orliq::cli
