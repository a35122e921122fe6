// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "simulator/sending/UdpFramer.h"

namespace orliq::cli {

/// A UDP socket that tells of every datagram when it came, from whom and to which address. For one
/// thread at a time, but for the two counts.
class UdpReceiver {
 public:
  enum class Sharing {
    kAlone,   ///< no other socket may have the port: it could take the packets
    kShared,  ///< as the driver binds it
  };

  /// A datagram of up to 65,507 bytes; `payload` is valid until the next Receive.
  struct Datagram {
    const std::uint8_t* payload;
    std::size_t bytes;
    double time_s;  ///< when the system received it, seconds since 1970-01-01 UTC
    sim::UdpEndpoints endpoints;
  };

  /// Binds an IPv4 address of this machine, or every one when `address` is empty. Throws Failure
  /// that tells what to do when that cannot be done.
  UdpReceiver(const std::string& address, std::uint16_t port, Sharing sharing);
  ~UdpReceiver();
  UdpReceiver(const UdpReceiver&) = delete;
  UdpReceiver& operator=(const UdpReceiver&) = delete;

  /// Nothing when none came within that time.
  std::optional<Datagram> Receive(std::chrono::milliseconds patience);

  /// Datagrams that found the socket's buffer full.
  std::uint64_t Dropped() const;

  /// Size of the socket's buffer that the system granted [bytes].
  std::uint64_t BufferBytes() const;

 private:
  void SetOptions(Sharing sharing) const;
  std::optional<Datagram> TryReceive();

  int socket_;
  std::uint16_t port_;
  std::vector<std::uint8_t> buffer_;
};

}  // namespace orliq::cli
