// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <netinet/in.h>

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "common/WakeDescriptor.h"

namespace orliq::lidar {

/// An IPv4 datagram socket that never blocks: what every channel to a sensor has in common.
///
/// Threads: one at a time. Ownership: the descriptor is closed with the object.
/// Failure: false or negative, with the reason in errno; nothing is printed.
class UdpSocket {
 public:
  UdpSocket() = default;
  ~UdpSocket() { Close(); }
  UdpSocket(const UdpSocket&) = delete;
  UdpSocket& operator=(const UdpSocket&) = delete;

  /// Makes the socket, in place of an earlier one.
  bool Open();
  void Close();
  bool IsOpen() const { return descriptor_ >= 0; }
  int Descriptor() const { return descriptor_; }  ///< -1 when closed

  /// Makes the descriptor non-blocking again, should anyone have changed that.
  bool SetNonblock() const;

  /// Binds a dotted address, or any for an empty text. What is no address or no port is EINVAL: never
  /// any address instead of the one that was meant.
  bool Bind(const std::string& address, std::uint32_t port) const;

  /// An option of the socket level.
  bool SetOption(int name, int value) const;
  int Option(int name) const;  ///< 0 when the system does not tell

  /// Waits until a datagram can be read, or written; false after that time.
  bool WaitRead(std::chrono::microseconds timeout) const;
  bool WaitWrite(std::chrono::microseconds timeout) const;

  /// Waits until a datagram can be read or it is woken.
  void WaitReadOr(const WakeDescriptor& wake) const;

  /// Takes one datagram, cut at `room` bytes, and tells who sent it. Its length, or negative with
  /// EAGAIN when there is none.
  int Receive(void* buffer, std::size_t room, sockaddr_in& sender) const;

  /// Sends one datagram; whether all of it went.
  bool Send(const void* bytes, std::size_t size, const sockaddr_in& receiver) const;

 private:
  bool Wait(short event, std::chrono::microseconds timeout) const;

  int descriptor_ = -1;
};

/// The address of a host and a port; false, with EINVAL, for what is none. An empty text stands for
/// any address.
bool SocketAddress(const std::string& address, std::uint32_t port, sockaddr_in& parsed);

}  // namespace orliq::lidar
