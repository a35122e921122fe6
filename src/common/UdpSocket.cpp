// SPDX-License-Identifier: Apache-2.0
#include "common/UdpSocket.h"

#include <arpa/inet.h>
#include <fcntl.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <thread>

namespace orliq::lidar {
namespace {

constexpr std::chrono::microseconds kLookAgain{1000};  // where nothing would end a wait

timespec TimeSpec(std::chrono::microseconds time) {
  return {time.count() / 1'000'000, time.count() % 1'000'000 * 1000};
}

}  // namespace

bool UdpSocket::Open() {
  Close();
  descriptor_ = ::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0);
  return IsOpen();
}

void UdpSocket::Close() {
  if (IsOpen()) ::close(descriptor_);
  descriptor_ = -1;
}

bool UdpSocket::SetNonblock() const {
  const int flags = ::fcntl(descriptor_, F_GETFL);
  return flags >= 0 && ::fcntl(descriptor_, F_SETFL, flags | O_NONBLOCK) == 0;
}

bool UdpSocket::Bind(const std::string& address, std::uint32_t port) const {
  sockaddr_in local = {};
  if (!SocketAddress(address, port, local)) return false;
  return ::bind(descriptor_, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0;
}

bool UdpSocket::SetOption(int name, int value) const {
  return ::setsockopt(descriptor_, SOL_SOCKET, name, &value, sizeof value) == 0;
}

int UdpSocket::Option(int name) const {
  int value = 0;
  socklen_t size = sizeof value;
  return ::getsockopt(descriptor_, SOL_SOCKET, name, &value, &size) == 0 ? value : 0;
}

bool UdpSocket::WaitRead(std::chrono::microseconds timeout) const {
  return Wait(POLLIN, timeout);
}

bool UdpSocket::WaitWrite(std::chrono::microseconds timeout) const {
  return Wait(POLLOUT, timeout);
}

void UdpSocket::WaitReadOr(const WakeDescriptor& wake) const {
  pollfd descriptors[] = {{descriptor_, POLLIN, 0}, {wake.Descriptor(), POLLIN, 0}};
  // A timeout costs as much as the rest of the wait: a timer that is set and cleared each time.
  const bool somebody_wakes = IsOpen() && wake.Descriptor() >= 0;
  const timespec time = TimeSpec(kLookAgain);
  const int ready = ::ppoll(descriptors, 2, somebody_wakes ? nullptr : &time, nullptr);
  if (ready < 0 && errno != EINTR) std::this_thread::sleep_for(kLookAgain);
}

/// A process with more than a thousand descriptors is beyond what select can name, so it is ppoll.
bool UdpSocket::Wait(short event, std::chrono::microseconds timeout) const {
  if (!IsOpen()) return false;
  pollfd descriptor = {descriptor_, event, 0};
  const timespec time = TimeSpec(timeout);
  return ::ppoll(&descriptor, 1, &time, nullptr) == 1;
}

int UdpSocket::Receive(void* buffer, std::size_t room, sockaddr_in& sender) const {
  socklen_t size = sizeof sender;
  return static_cast<int>(
      ::recvfrom(descriptor_, buffer, room, 0, reinterpret_cast<sockaddr*>(&sender), &size));
}

bool UdpSocket::Send(const void* bytes, std::size_t size, const sockaddr_in& receiver) const {
  return ::sendto(descriptor_, bytes, size, 0, reinterpret_cast<const sockaddr*>(&receiver),
                  sizeof receiver) == static_cast<ssize_t>(size);
}

bool SocketAddress(const std::string& address, std::uint32_t port, sockaddr_in& parsed) {
  parsed = {};
  parsed.sin_family = AF_INET;
  parsed.sin_port = htons(static_cast<std::uint16_t>(port));
  const bool is_address =
      address.empty() || ::inet_pton(AF_INET, address.c_str(), &parsed.sin_addr) == 1;
  if (is_address && port <= 65535) return true;
  errno = EINVAL;
  return false;
}

}  // namespace orliq::lidar
