// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <stdexcept>
#include <vector>

namespace orliq::test {

/// A UDP socket on this machine; the port it is bound to was free.
class LoopbackSocket {
 public:
  explicit LoopbackSocket(std::uint32_t host = INADDR_LOOPBACK)
      : descriptor_(::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0)) {
    // A loaded machine may run the receiver late, and the usual buffer holds 90 packets.
    const int room = 4 << 20;
    ::setsockopt(descriptor_, SOL_SOCKET, SO_RCVBUF, &room, sizeof room);
    sockaddr_in address = Address(0);
    address.sin_addr.s_addr = htonl(host);
    socklen_t size = sizeof address_;
    if (::bind(descriptor_, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
        ::getsockname(descriptor_, reinterpret_cast<sockaddr*>(&address_), &size) != 0) {
      throw std::runtime_error("no loopback socket");
    }
  }
  ~LoopbackSocket() { ::close(descriptor_); }
  LoopbackSocket(const LoopbackSocket&) = delete;
  LoopbackSocket& operator=(const LoopbackSocket&) = delete;

  std::uint16_t port() const { return ntohs(address_.sin_port); }

  void Send(std::uint16_t port, const void* bytes, std::size_t size) const {
    SendTo(Address(port), bytes, size);
  }
  void SendTo(const sockaddr_in& to, const void* bytes, std::size_t size) const {
    ::sendto(descriptor_, bytes, size, 0, reinterpret_cast<const sockaddr*>(&to), sizeof to);
  }

  static sockaddr_in Address(std::uint16_t port) {
    sockaddr_in address = {};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    address.sin_port = htons(port);
    return address;
  }

  /// The next datagram (up to 65536 bytes); nothing when none came within that time.
  std::optional<std::vector<std::uint8_t>> Receive(std::chrono::milliseconds time,
                                                   sockaddr_in* sender = nullptr) const {
    pollfd wanted = {descriptor_, POLLIN, 0};
    if (::poll(&wanted, 1, static_cast<int>(time.count())) < 1) return std::nullopt;
    std::vector<std::uint8_t> bytes(65536);
    socklen_t length = sizeof *sender;
    const ssize_t size = ::recvfrom(descriptor_, bytes.data(), bytes.size(), MSG_DONTWAIT,
                                    reinterpret_cast<sockaddr*>(sender), &length);
    if (size < 0) return std::nullopt;
    bytes.resize(static_cast<std::size_t>(size));
    return bytes;
  }

 private:
  int descriptor_;
  sockaddr_in address_ = {};
};

/// A port that was free a moment ago.
inline std::uint16_t FreePort() {
  return LoopbackSocket().port();
}

}  // namespace orliq::test
