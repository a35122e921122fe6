// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/ClosedPort.h"

#include "orliq/capture/UdpRecord.h"

namespace orliq::cli {

std::string ClosedEndpoint(const std::uint8_t* frame, std::size_t size) {
  constexpr std::size_t kIp = 14;
  constexpr std::size_t kIcmpBytes = 8;
  constexpr std::size_t kInner = 24;  // of the datagram: IP header without options, and ports
  if (size < kIp + 20) return {};
  const std::size_t icmp = kIp + std::size_t{4} * (frame[kIp] & 0x0FU);
  const std::size_t inner = icmp + kIcmpBytes;
  constexpr std::uint8_t kIcmp = 1, kUdp = 17, kUnreachable = 3, kPort = 3, kPlainIpv4 = 0x45;
  if (size < inner + kInner || frame[kIp + 9] != kIcmp || frame[icmp] != kUnreachable ||
      frame[icmp + 1] != kPort || frame[inner] != kPlainIpv4 || frame[inner + 9] != kUdp) {
    return {};
  }
  const auto word = [frame](std::size_t at) { return frame[at] * 256U + frame[at + 1]; };
  return Endpoint(word(inner + 16) << 16U | word(inner + 18),
                  static_cast<std::uint16_t>(word(inner + 22)));
}

}  // namespace orliq::cli
