// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/HostNetwork.h"

#include <algorithm>

#include "common/SocketMemory.h"
#include "orliq/capture/UdpRecord.h"
#include "orliq/network/HostState.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {

std::array<std::uint8_t, 4> Octets(std::uint32_t address) {
  return {static_cast<std::uint8_t>(address >> 24U), static_cast<std::uint8_t>(address >> 16U),
          static_cast<std::uint8_t>(address >> 8U), static_cast<std::uint8_t>(address)};
}

std::string EndpointText(const std::string& address, std::uint16_t port) {
  return (address.empty() ? "0.0.0.0" : address) + ':' + std::to_string(port);
}

std::string LocalAddressText() {
  return LocalAddressText(ReadInterfaces());
}

bool IsLocalAddress(const std::string& address) {
  const auto parsed = ParseAddress(address);
  const auto interfaces = ReadInterfaces();
  return parsed && std::any_of(interfaces.begin(), interfaces.end(),
                               [&](const Interface& own) { return own.Has(*parsed); });
}

std::string SocketOwnerHint(std::uint16_t port) {
  return SocketOwnerCommand(port) + " names it";
}

std::string SocketOwnerCommand(std::uint16_t port) {
  return "ss -lunp 'sport = :" + std::to_string(port) + '\'';
}

std::vector<std::string> LargerBufferCommands() {
  const std::string setting = "net.core.rmem_max=" + std::to_string(lidar::kReceiveBufferBytes);
  return {"sudo sysctl -w " + setting,
          "echo " + setting + " | sudo tee /etc/sysctl.d/60-lidar.conf"};
}

std::string BufferAdvice(std::uint64_t granted_bytes) {
  const std::uint64_t bytes = granted_bytes / 2;
  return "the system dropped packets from a receive buffer of " + Megabytes(bytes) + ": " +
         (bytes < lidar::kReceiveBufferBytes
              ? LargerBufferCommands().front() + " allows a larger one, and other"
              : "other") +
         " programs may keep the processors too busy";
}

}  // namespace orliq::cli
