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

/// Port 0 is any. False when the address does not parse.
bool Parse(const std::string& address, std::uint16_t port, sockaddr_in& endpoint) {
  endpoint = {};
  endpoint.sin_family = AF_INET;
  endpoint.sin_port = htons(port);
  return ::inet_pton(AF_INET, address.c_str(), &endpoint.sin_addr) == 1;
}

bool Bind(int descriptor, const sockaddr_in& source) {
  return ::bind(descriptor, reinterpret_cast<const sockaddr*>(&source), sizeof source) == 0;
}

bool Connect(int descriptor, const sockaddr_in& target) {
  const int yes = 1;  // some sensors send to everyone on their network
  return ::setsockopt(descriptor, SOL_SOCKET, SO_BROADCAST, &yes, sizeof yes) == 0 &&
         ::connect(descriptor, reinterpret_cast<const sockaddr*>(&target), sizeof target) == 0;
}

}  // namespace

std::unique_ptr<UdpSender> UdpSender::Create(const std::string& address, std::uint16_t port,
                                             std::string& error, const std::string& source) {
  sockaddr_in target;
  sockaddr_in from;
  const bool any = source.empty();
  if (!Parse(address, port, target) || !Parse(any ? "0.0.0.0" : source, 0, from)) {
    error = "not an IPv4 address: " + address + (any ? "" : " or " + source);
    return nullptr;
  }
  const int descriptor = ::socket(AF_INET, SOCK_DGRAM | SOCK_CLOEXEC, 0);
  if (descriptor < 0) {
    error = "no socket: " + SystemText();
    return nullptr;
  }
  std::unique_ptr<UdpSender> sender(new UdpSender(descriptor));
  if (!any && !Bind(descriptor, from)) {
    error = "no way to send from " + source + ": " + SystemText();
    return nullptr;
  }
  if (!Connect(descriptor, target)) {
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
