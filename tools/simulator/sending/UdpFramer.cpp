// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/UdpFramer.h"

#include <arpa/inet.h>

#include "simulator/sensors/ByteWriter.h"

namespace orliq::sim {
namespace {

constexpr std::uint32_t kUdp = 17;
constexpr std::uint32_t kTimeToLive = 64;
constexpr std::uint32_t kDontFragment = 0x4000;
// Locally administered, so that they belong to no maker.
constexpr std::array<std::uint8_t, 6> kSensorMac = {0x02, 0, 0, 0, 0, 0x01};
constexpr std::array<std::uint8_t, 6> kHostMac = {0x02, 0, 0, 0, 0, 0x02};

/// Adds up 16-bit words, an odd last byte being the high half of a word.
std::uint32_t WordSum(const std::vector<std::uint8_t>& bytes) {
  std::uint32_t sum = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    sum += i % 2 == 0 ? static_cast<std::uint32_t>(bytes[i]) << 8U : bytes[i];
  }
  return sum;
}

std::uint16_t Checksum(std::uint32_t sum) {
  while (sum > 0xFFFFU) {
    sum = (sum & 0xFFFFU) + (sum >> 16U);
  }
  return static_cast<std::uint16_t>(~sum);
}

void PatchU16(std::vector<std::uint8_t>& bytes, std::size_t offset, std::uint16_t value) {
  bytes[offset] = static_cast<std::uint8_t>(value >> 8U);
  bytes[offset + 1] = static_cast<std::uint8_t>(value);
}

std::vector<std::uint8_t> Ipv4Header(const UdpEndpoints& endpoints, std::uint16_t number,
                                     std::size_t udp_length) {
  std::vector<std::uint8_t> header;
  ByteWriter(header, ByteWriter::Order::Big)
      .U8(0x45)  // version 4, five words of header
      .U8(0)
      .U16(static_cast<std::uint32_t>(20 + udp_length))
      .U16(number)
      .U16(kDontFragment)
      .U8(kTimeToLive)
      .U8(kUdp)
      .U16(0)  // checksum, patched below
      .Bytes(endpoints.source)
      .Bytes(endpoints.destination);
  PatchU16(header, 10, Checksum(WordSum(header)));
  return header;
}

std::vector<std::uint8_t> UdpHeader(const UdpEndpoints& endpoints,
                                    const std::vector<std::uint8_t>& payload) {
  const auto length = static_cast<std::uint32_t>(8 + payload.size());
  std::vector<std::uint8_t> pseudo;  // summed up together with the datagram, never sent
  ByteWriter(pseudo, ByteWriter::Order::Big)
      .Bytes(endpoints.source)
      .Bytes(endpoints.destination)
      .U16(kUdp)
      .U16(length);
  std::vector<std::uint8_t> header;
  ByteWriter(header, ByteWriter::Order::Big)
      .U16(endpoints.source_port)
      .U16(endpoints.destination_port)
      .U16(length)
      .U16(0);  // checksum, patched below
  const std::uint16_t sum = Checksum(WordSum(pseudo) + WordSum(header) + WordSum(payload));
  PatchU16(header, 6, sum == 0 ? std::uint16_t{0xFFFF} : sum);  // 0 would say "no checksum"
  return header;
}

}  // namespace

std::optional<UdpFramer> UdpFramer::Create(const UdpFlow& flow) {
  UdpFramer framer;
  UdpEndpoints& endpoints = framer.flow_;
  if (inet_pton(AF_INET, flow.source_ip.c_str(), endpoints.source.data()) != 1 ||
      inet_pton(AF_INET, flow.destination_ip.c_str(), endpoints.destination.data()) != 1) {
    return std::nullopt;
  }
  endpoints.source_port = flow.source_port;
  endpoints.destination_port = flow.destination_port;
  return framer;
}

std::vector<std::uint8_t> UdpFramer::Frame(const std::vector<std::uint8_t>& payload,
                                           const UdpEndpoints& endpoints) {
  const auto udp = UdpHeader(endpoints, payload);
  std::vector<std::uint8_t> frame;
  frame.reserve(42 + payload.size());
  ByteWriter(frame, ByteWriter::Order::Big)
      .Bytes(kHostMac)
      .Bytes(kSensorMac)
      .U16(0x0800)  // IPv4 follows
      .Bytes(Ipv4Header(endpoints, number_, udp.size() + payload.size()))
      .Bytes(udp)
      .Bytes(payload);
  ++number_;
  return frame;
}

}  // namespace orliq::sim
