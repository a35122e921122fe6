// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/UdpSender.h"

#include <arpa/inet.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <chrono>
#include <system_error>
#include <thread>

namespace orliq::sim {
namespace {

constexpr int kAttempts = 10'000;
constexpr std::chrono::microseconds kPause{100};  // between attempts, while there is no room

std::string SystemText() {
  return std::generic_category().message(errno);
}

bool Connect(int descriptor, const in_addr& address, std::uint16_t port) {
  sockaddr_in target = {};
  target.sin_family = AF_INET;
  target.sin_port = htons(port);
  target.sin_addr = address;
  const int yes = 1;  // some sensors send to everyone on their network
  return ::setsockopt(descriptor, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes) == 0 &&
         ::connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof target) == 0;
}

}  // namespace

std::unique_ptr<UdpSender> UdpSender::Create(const std::string& address, std::uint16_t port,
                                             std::string& error) {
  in_addr parsed = {};
  if (::inet_pton(AF_INET, address.c_str(), &parsed) != 1) {
    error = "not an IPv4 address: " + address;
    return nullptr;
  }
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    error = "no socket: " + SystemText();
    return nullptr;
  }
  std::unique_ptr<UdpSender> sender(new UdpSender(descriptor));
  if (!Connect(descriptor, parsed, port)) {
    error = "no way to " + address + ": " + SystemText();
    return nullptr;
  }
  return sender;
}

UdpSender::~UdpSender() {
  ::close(descriptor_);
}

bool UdpSender::Send(const void* payload, std::size_t size) {
  for (int attempt = 0; attempt < kAttempts; ++attempt) {
    if (::send(descriptor_, payload, size, 0) >= 0) {
      ++datagrams_;
      bytes_ += size;
      return true;
    }
    if (errno == EAGAIN || errno == ENOBUFS) {
      std::this_thread::sleep_for(kPause);
      errno = ENOBUFS;  // the pause may have set another
    } else if (errno != ECONNREFUSED && errno != EINTR) {
      break;  // a refusal is the answer to an earlier datagram: this one has not left yet
    }
  }
  if (failed_++ == 0) first_error_ = SystemText();
  return false;
}

}  // namespace orliq::sim
