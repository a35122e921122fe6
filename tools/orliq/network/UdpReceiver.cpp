// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/UdpReceiver.h"

#include <arpa/inet.h>
#include <poll.h>
#include <sys/socket.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <ctime>
#include <system_error>
#include <thread>

#include "common/SocketMemory.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kLongestDatagram = 65535;  // [bytes]

double Seconds(const timespec& time) {
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

double Now() {
  timespec now = {};
  ::clock_gettime(CLOCK_REALTIME, &now);
  return Seconds(now);
}

template <typename T>
T Content(const cmsghdr& message) {
  T value;
  std::memcpy(&value, CMSG_DATA(&message), sizeof value);
  return value;
}

std::string WhyNotBound(const std::string& address, std::uint16_t port, int fault) {
  const std::string name = std::to_string(port);
  switch (fault) {
    case EACCES:
      return "UDP port " + name + " needs privileges: have the sensor send to one above 1023";
    case EADDRINUSE:
      return "another program holds UDP port " + name + ": end it (" + SocketOwnerHint(port) + ')';
    case EADDRNOTAVAIL:
      return address + " is no address of this machine, which has " + LocalAddressText() +
             ": choose one of them, or none to listen on all";
    default:
      return "cannot listen on " + EndpointText(address, port) + ": " +
             std::generic_category().message(fault);
  }
}

}  // namespace

UdpReceiver::UdpReceiver(const std::string& address, std::uint16_t port, Sharing sharing)
    : socket_(::socket(AF_INET, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0)),
      port_(port),
      buffer_(kLongestDatagram) {
  sockaddr_in local = {};
  local.sin_family = AF_INET;
  local.sin_port = htons(port);
  if (!address.empty()) ::inet_pton(AF_INET, address.c_str(), &local.sin_addr);
  if (socket_ >= 0) SetOptions(sharing);
  if (socket_ >= 0 &&
      ::bind(socket_, reinterpret_cast<const sockaddr*>(&local), sizeof local) == 0) {
    return;
  }
  const int fault = errno;
  if (socket_ >= 0) ::close(socket_);
  throw Failure(ExitCode::kFileFault, WhyNotBound(address, port, fault));
}

UdpReceiver::~UdpReceiver() {
  ::close(socket_);
}

void UdpReceiver::SetOptions(Sharing sharing) const {
  const auto set = [this](int level, int name, int value) {
    return ::setsockopt(socket_, level, name, &value, sizeof value) == 0;
  };
  if (sharing == Sharing::kShared) {
    set(SOL_SOCKET, SO_REUSEADDR, 1);
    set(SOL_SOCKET, SO_REUSEPORT, 1);
  }
  // An administrator may go beyond the limit that the system has for others.
  if (!set(SOL_SOCKET, SO_RCVBUFFORCE, lidar::kReceiveBufferBytes)) {
    set(SOL_SOCKET, SO_RCVBUF, lidar::kReceiveBufferBytes);
  }
  set(SOL_SOCKET, SO_TIMESTAMPNS, 1);
  set(IPPROTO_IP, IP_PKTINFO, 1);
}

std::optional<UdpReceiver::Datagram> UdpReceiver::Receive(std::chrono::milliseconds patience) {
  auto datagram = TryReceive();
  if (datagram || patience.count() == 0) return datagram;
  pollfd descriptor = {socket_, POLLIN, 0};
  if (::poll(&descriptor, 1, static_cast<int>(patience.count())) == 1) datagram = TryReceive();
  // A socket at fault is readable without a datagram, and must not keep a processor busy.
  if (!datagram && (descriptor.revents & POLLERR) != 0) std::this_thread::sleep_for(patience);
  return datagram;
}

std::optional<UdpReceiver::Datagram> UdpReceiver::TryReceive() {
  alignas(cmsghdr) char control[CMSG_SPACE(sizeof(timespec)) + CMSG_SPACE(sizeof(in_pktinfo))];
  sockaddr_in sender = {};
  iovec place = {buffer_.data(), buffer_.size()};
  msghdr header = {};
  header.msg_name = &sender;
  header.msg_namelen = sizeof sender;
  header.msg_iov = &place;
  header.msg_iovlen = 1;
  header.msg_control = control;
  header.msg_controllen = sizeof control;
  const ssize_t bytes = ::recvmsg(socket_, &header, 0);
  if (bytes < 0) return std::nullopt;
  Datagram datagram = {buffer_.data(), static_cast<std::size_t>(bytes), 0.0, {}};
  datagram.endpoints.source = Octets(ntohl(sender.sin_addr.s_addr));
  datagram.endpoints.source_port = ntohs(sender.sin_port);
  datagram.endpoints.destination_port = port_;
  for (cmsghdr* m = CMSG_FIRSTHDR(&header); m != nullptr; m = CMSG_NXTHDR(&header, m)) {
    if (m->cmsg_level == SOL_SOCKET && m->cmsg_type == SCM_TIMESTAMPNS) {
      datagram.time_s = Seconds(Content<timespec>(*m));
    } else if (m->cmsg_level == IPPROTO_IP && m->cmsg_type == IP_PKTINFO) {
      datagram.endpoints.destination = Octets(ntohl(Content<in_pktinfo>(*m).ipi_addr.s_addr));
    }
  }
  if (datagram.time_s == 0.0) datagram.time_s = Now();
  return datagram;
}

std::uint64_t UdpReceiver::Dropped() const {
  return lidar::DroppedDatagrams(socket_);
}

std::uint64_t UdpReceiver::BufferBytes() const {
  return lidar::GrantedBufferBytes(socket_);
}

}  // namespace orliq::cli
