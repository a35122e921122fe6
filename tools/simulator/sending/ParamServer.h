// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <system_error>
#include <vector>

#include "simulator/sending/ParamServerOptions.h"
#include "simulator/sending/ReplyFaults.h"

namespace orliq::sim {

/// What a ParamServer has done so far.
struct ParamServerCounts {
  std::uint64_t requests = 0;  ///< valid ones
  std::uint64_t invalid = 0;   ///< datagrams that are no request: length, header or checksum
  std::uint64_t replies = 0;   ///< datagrams handed to the system, each duplicate by itself
  std::uint64_t bytes = 0;     ///< in them
  std::uint64_t not_sent = 0;  ///< replies that the system refused
  std::uint64_t images = 0;    ///< how often every byte has left undamaged, from the first one on
  std::uint64_t image_bytes_served = 0;  ///< of the image that is being served, from its start
  std::uint64_t restarts = 0;
  ReplyFaultCounts faults;  ///< kLost also counts a delayed reply when too many wait already
};

/// The parameter server of a sensor: answers UDP requests for pieces of its calibration image.
///
/// A request is 12 bytes: A5 A5 A5 A5, whether it is the last one (1), u32 offset, u16 length, sum of
/// the 11 bytes before it. A reply is "ZZZZ", u32 image size + 32, 28 bytes that mean nothing, the
/// piece, 3 bytes that mean nothing; all little-endian. A piece ends with the image, and at 2009
/// bytes; behind the end of the image it is empty. What is no request gets no answer.
///
/// Threads: answers on a thread of its own, from Create until Stop. Counts and Greet may be called
/// from any thread; Stop and the destructor belong to one. Memory is bounded whatever comes in.
class ParamServer {
 public:
  /// Binds, and starts to answer. Null, and the reason in `error`, when the address is none or the
  /// port cannot be had (std::errc::address_in_use).
  static std::unique_ptr<ParamServer> Create(const ParamServerOptions& options,
                                             std::vector<std::uint8_t> image,
                                             std::error_code& error);
  ~ParamServer();
  ParamServer(const ParamServer&) = delete;
  ParamServer& operator=(const ParamServer&) = delete;

  /// The port that it answers on; a restart changes nothing.
  std::uint16_t Port() const;

  /// Sends one datagram, which is no reply, to a receiver: a driver that does not know the sensor's
  /// address learns it from the sender. False when the address is none, the server is down for a
  /// restart or stopped, or the system refuses.
  bool Greet(const std::string& address, std::uint16_t port);

  ParamServerCounts Counts() const;

  /// Ends at once, replies that wait are lost. Counts and Port stay.
  void Stop();

 private:
  class Impl;
  explicit ParamServer(std::unique_ptr<Impl> impl);

  std::unique_ptr<Impl> impl_;
};

}  // namespace orliq::sim
