// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <netinet/in.h>
#include <sys/socket.h>
#include <sys/uio.h>

#include <cstddef>
#include <cstdint>
#include <ctime>
#include <memory>
#include <string>
#include <vector>

#include "common/Counter.h"
#include "common/UdpSocket.h"
#include "input/Input.h"
#include "multi_driver/DriverParam.h"

namespace orliq::lidar {

/// Receives a sensor's packets as UDP datagrams on a local port.
///
/// Address and port are shared with other sockets that ask for it: of two sockets on one port the
/// system gives a sensor's whole flow to one.
///
/// Threads: Init on the caller's thread, receiving afterwards on one thread. Counters may be read
/// from any thread until the socket is closed.
class InputSock final : public Input {
 public:
  static constexpr int kSelectTimeoutUs = 100;
  static constexpr std::size_t kBatch = 64;  // datagrams of one batch receive
  static constexpr int kSkips = 64;          // datagrams that one receive passes over at most

  explicit InputSock(const InputParam& param);
  ~InputSock() override;

  void SetSocketBuffer(std::uint32_t bytes) override { socket_buffer_ = bytes; }

  /// Opens and binds the socket, which never blocks. False, with a line of the system's error
  /// printer, when the system has no socket or refuses the binding, or the address is none. Options
  /// that the system refuses are done without.
  bool Init() override;

  /// Receives one datagram of at most `size` bytes, cut at the room in `buffer`. When none is
  /// waiting it waits up to 100 us for one. Empty datagrams and those of other senders are counted
  /// and passed over, at most kSkips of them, so that no flood of them keeps the caller. Returns the
  /// length; 0 when nothing fit to deliver arrived or there is no buffer; negative when the system
  /// reports an error.
  int RecvPacket(std::shared_ptr<Buffer>& buffer, const int& size, long* position,
                 const bool& remember) override;

  /// Receives up to `max_count` datagrams at once, at most 64 and at most one for each entry of
  /// `buffers`; an empty entry gets a new buffer of `size` bytes. When none is waiting it waits up
  /// to 100 us for the first. Every sender's count, empty ones too. Each buffer tells when the system
  /// received its datagram. Returns how many arrived, or a negative number without a bound socket or
  /// for a count below 1.
  int RecvBatchPackets(std::vector<std::shared_ptr<Buffer>>& buffers, int max_count, unsigned size);

  /// The wanted ones of at most `most` waiting datagrams, of kBatch in any case; others are counted and
  /// passed over. May return 0 though more are waiting, when none of those was wanted.
  int RecvWaiting(std::vector<std::shared_ptr<Buffer>>& buffers, std::size_t most) override;
  void WaitForPackets(const WakeDescriptor& wake) override;

  /// Makes the descriptor non-blocking; false when the system refuses.
  bool SetNonblock() const;

  /// Waits until the socket can be read, or written; false after `timeout_us` microseconds.
  bool WaitReadEvent(const int& timeout_us) const;
  bool WaitWriteEvent(const int& timeout_us) const;

  void Close();
  void CleanupBatchRecv();

  std::uint64_t DroppedDatagrams() const override;
  std::uint64_t SocketBufferBytes() const override;
  std::uint64_t OtherSourceDatagrams() const override { return other_source_.Value(); }
  std::uint64_t EmptyDatagrams() const override { return empty_.Value(); }
  Senders SeenSenders() const override;

 private:
  /// Where the system tells when it received a datagram.
  struct ArrivalRoom {
    alignas(cmsghdr) std::uint8_t bytes[CMSG_SPACE(sizeof(timespec))];
  };

  void SetOptions() const;
  bool InitBatchRecv();
  int Receive(Buffer& buffer, std::size_t room);
  int ReceiveOrWait(Buffer& buffer, std::size_t room);
  int ReceiveBatch(std::vector<std::shared_ptr<Buffer>>& buffers, std::size_t count, unsigned size);
  bool Admit(const sockaddr_in& sender, std::size_t length);
  void NoteSender(const sockaddr_in& sender);

  std::string local_ip_;             // empty: any address
  std::uint16_t port_;               // host byte order
  std::string pcap_file_;            // not used by this source
  std::uint32_t socket_buffer_ = 0;  // [bytes] asked for; 0: kReceiveBufferBytes
  UdpSocket sock_;
  Counter other_source_;  // of the receiving thread
  Counter empty_;         // likewise, as the next three
  Counter first_sender_;  // address << 16 | port, host byte order; 0: none yet
  Counter other_sender_;
  Counter of_other_senders_;
  std::unique_ptr<iovec[]> iovecs_;
  std::unique_ptr<mmsghdr[]> msgs_;
  std::unique_ptr<sockaddr_in[]> addrs_;
  std::unique_ptr<ArrivalRoom[]> arrivals_;
  bool batch_ready_ = false;  // the four arrays exist
};

}  // namespace orliq::lidar
