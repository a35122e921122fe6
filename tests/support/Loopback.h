// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cstdint>
#include <fstream>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "support/Playback.h"

namespace orliq::test {

/// A UDP socket bound to 127.0.0.1, by itself to a free port.
class LoopbackSocket {
 public:
  explicit LoopbackSocket(std::uint16_t port = 0, bool shared = false) {
    const int one = shared ? 1 : 0;
    setsockopt(socket_, SOL_SOCKET, SO_REUSEADDR, &one, sizeof one);
    setsockopt(socket_, SOL_SOCKET, SO_REUSEPORT, &one, sizeof one);
    sockaddr_in address = Address(port);
    socklen_t size = sizeof address;
    auto* const generic = reinterpret_cast<sockaddr*>(&address);
    if (bind(socket_, generic, size) != 0 || getsockname(socket_, generic, &size) != 0) {
      throw std::runtime_error("no socket on 127.0.0.1");
    }
    port_ = ntohs(address.sin_port);
  }
  ~LoopbackSocket() { close(socket_); }
  LoopbackSocket(const LoopbackSocket&) = delete;
  LoopbackSocket& operator=(const LoopbackSocket&) = delete;

  std::uint16_t Port() const { return port_; }

  void Send(const std::vector<std::uint8_t>& payload, std::uint16_t port) const {
    const sockaddr_in to = Address(port);
    const auto size = static_cast<ssize_t>(payload.size());
    if (sendto(socket_, payload.data(), payload.size(), 0, reinterpret_cast<const sockaddr*>(&to),
               sizeof to) != size) {
      throw std::runtime_error("cannot send");
    }
  }

 private:
  static sockaddr_in Address(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_port = htons(port);
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    return address;
  }

  int socket_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  std::uint16_t port_ = 0;
};

inline std::uint16_t FreePort() {
  return LoopbackSocket().Port();
}

/// Bytes that wait in the receive buffer of the socket bound to that port; -1 when none is bound.
inline long BytesWaiting(std::uint16_t port) {
  std::ifstream table("/proc/net/udp");
  std::string row, number, local, remote, state, queues;
  std::getline(table, row);  // names of the columns
  while (std::getline(table, row)) {
    std::istringstream(row) >> number >> local >> remote >> state >> queues;
    if (std::stoul(local.substr(local.find(':') + 1), nullptr, 16) != port) continue;
    return std::stol(queues.substr(queues.find(':') + 1), nullptr, 16);
  }
  return -1;
}

/// Sends without outrunning the receiver, and returns when it has taken everything or is gone.
inline bool SendAll(const std::vector<std::vector<std::uint8_t>>& payloads, std::uint16_t port) {
  const LoopbackSocket socket;
  const auto taken = [port] { return BytesWaiting(port) <= 0; };
  for (std::size_t i = 0; i < payloads.size(); ++i) {
    if (i % 32 == 0 && !Eventually(taken)) return false;
    socket.Send(payloads[i], port);
  }
  return Eventually(taken);
}

}  // namespace orliq::test
