// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>

namespace orliq::sim {

/// Sends datagrams to one IPv4 address and port, and counts exactly what the system has taken.
///
/// A receiver that is not there is no fault: on this machine the system answers for it, and the
/// datagram is sent all the same. Not thread safe.
class UdpSender {
 public:
  /// `address` in dotted form. `source` is the address of this machine to send from; empty: the
  /// system chooses. Null, and a line in `error`, when one of them does not parse, the machine lacks
  /// `source`, or the system knows no way to `address`.
  static std::unique_ptr<UdpSender> Create(const std::string& address, std::uint16_t port,
                                           std::string& error, const std::string& source = "");
  ~UdpSender();
  UdpSender(const UdpSender&) = delete;
  UdpSender& operator=(const UdpSender&) = delete;

  /// Sends one datagram; while the system has no room for it, up to a second is spent on trying
  /// again. False when it was not sent.
  bool Send(const void* payload, std::size_t size);

  std::uint64_t Datagrams() const { return datagrams_; }  ///< sent
  std::uint64_t Bytes() const { return bytes_; }          ///< of their payloads
  std::uint64_t Failed() const { return failed_; }        ///< datagrams that were not sent

  /// Why the first of them was not sent, in the system's words; empty when all were.
  const std::string& FirstError() const { return first_error_; }

 private:
  explicit UdpSender(int descriptor) : descriptor_(descriptor) {}

  int descriptor_;
  std::uint64_t datagrams_ = 0;
  std::uint64_t bytes_ = 0;
  std::uint64_t failed_ = 0;
  std::string first_error_;
};

}  // namespace orliq::sim
