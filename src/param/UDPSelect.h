// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "common/Counter.h"
#include "common/UdpSocket.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/DriverStatistics.h"

namespace orliq::lidar {

/// The UDP channel over which a sensor is asked for its calibration.
///
/// Threads: Init on the caller's thread, everything else afterwards on one thread. OtherSenders and
/// Remote may be read from any.
/// Ownership: the socket is closed with the object.
/// Failure: false or what RecvData tells; only Init prints.
class UDPSelect {
 public:
  static constexpr int kWaitMs = 100;  // for one datagram, or for room to send one
  static constexpr int kSkips = 64;    // datagrams that one call passes over at most

  explicit UDPSelect(const CalibrationParam& param);
  UDPSelect(const UDPSelect&) = delete;
  UDPSelect& operator=(const UDPSelect&) = delete;

  /// Opens and binds the socket, which never blocks. False, with a line of the system's error
  /// printer, when the system refuses that or the local address or port is none; it is closed then.
  bool Init();

  /// Takes one datagram of at most `capacity` bytes, waiting up to 100 ms for it. Its length; 0 when
  /// none came, -1 when it is empty or the system reports an error. The first sender becomes the
  /// sensor, as far as the parameters leave open who that is.
  virtual int RecvData(void* buffer, const int& capacity);

  /// Sends `length` bytes to the sensor, waiting up to 100 ms for room. False when not all of them
  /// went, the sensor is still unknown, or its address is none.
  virtual bool SendData(const void* buffer, const int& length);

  virtual ~UDPSelect() = default;

  /// Waits until the socket can be read, or written; false after `timeout_ms` milliseconds.
  bool WaitReadEvent(const int& timeout_ms) const;
  bool WaitWriteEvent(const int& timeout_ms) const;

  void Close() { socket_.Close(); }

  /// Whether parameters or a first datagram have told both address and port of the sensor.
  bool KnowsRemote() const { return !remote_address_.empty() && remote_port_ != 0; }

  /// From now on, datagrams of others than the sensor are counted and passed over, at most kSkips in
  /// one call. To be called before the thread starts.
  void AcceptOnlyRemote() { only_remote_ = true; }
  std::uint64_t OtherSenders() const { return other_senders_.Value(); }

  /// Throws away what is waiting, at most kSkips datagrams, and counts it.
  std::size_t Discard();

  /// The sensor, as far as it is known.
  PacketSender Remote() const;

 private:
  bool IsRemote(const sockaddr_in& sender) const;
  void Learn(const sockaddr_in& sender);
  void TellRemote();

  std::uint32_t local_port_;
  std::string local_address_;
  std::uint32_t remote_port_;   // 0: not known yet
  std::string remote_address_;  // empty: not known yet
  std::string check_folder_;    // not used by the channel
  UdpSocket socket_;
  bool only_remote_ = false;
  Counter other_senders_;  // of the one thread, as the next
  Counter remote_;         // address << 16 | port, host byte order
};

}  // namespace orliq::lidar
