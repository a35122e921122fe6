// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <vector>

#include "common/WakeDescriptor.h"
#include "input/Buffer.h"
#include "input/RecordCounters.h"
#include "multi_driver/DriverStatistics.h"

namespace orliq::lidar {

/// Source of raw sensor packets. Init runs once on the caller's thread, RecvPacket afterwards on
/// one worker thread.
class Input {
 public:
  Input() = default;
  virtual ~Input() = default;
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  /// Only datagrams from this IPv4 address (network byte order) are delivered; 0, the state at
  /// first, delivers those of every sender. To be called before Init.
  void SetSource(std::uint32_t address) { source_ = address; }

  /// What to ask of the system as receive buffer [bytes]; 0: 16 MiB. Likewise.
  virtual void SetSocketBuffer(std::uint32_t /*bytes*/) {}

  /// Opens the source; false when that fails.
  virtual bool Init() = 0;

  /// Delivers one packet of at most `size` bytes into `buffer` and returns its length in bytes; 0
  /// when there is none for now, negative at the end of the source or on an error. What `position`
  /// and `remember` mean is the source's business.
  virtual int RecvPacket(std::shared_ptr<Buffer>& buffer, const int& size, long* position,
                         const bool& remember) = 0;

  /// Delivers the packets that are waiting, without waiting for any, at most `most` and one for each
  /// entry of `buffers`, none of which may be empty. Those that hold them come first, in the order of
  /// arrival. Returns how many; 0 for none, negative at the end of the source or on an error.
  virtual int RecvWaiting(std::vector<std::shared_ptr<Buffer>>& buffers, std::size_t most);

  /// Waits for packets, or until it is woken. Returns at once for a source whose packets are always
  /// there.
  virtual void WaitForPackets(const WakeDescriptor& /*wake*/) {}

  /// Counts the records that are read from now on there; it outlives the input. Nothing for a source
  /// without records.
  virtual void CountInto(RecordCounters& /*counters*/) {}

  /// Datagrams that the system threw away because its buffer of this source was full, and the size
  /// of that buffer. 0 for a source that loses nothing.
  virtual std::uint64_t DroppedDatagrams() const { return 0; }
  virtual std::uint64_t SocketBufferBytes() const { return 0; }

  /// Datagrams that were left out, each counted once: those of another sender, and empty ones. 0 for
  /// a capture file.
  virtual std::uint64_t OtherSourceDatagrams() const { return 0; }
  virtual std::uint64_t EmptyDatagrams() const { return 0; }

  /// Who sent datagrams to a socket, whether they were delivered or left out.
  struct Senders {
    PacketSender first;
    PacketSender other;  ///< the latest one that is not the first
    std::uint64_t of_others = 0;
  };
  virtual Senders SeenSenders() const { return {}; }

 protected:
  bool IsSource(std::uint32_t address) const { return source_ == 0 || source_ == address; }

 private:
  std::uint32_t source_ = 0;  // network byte order
};

inline int Input::RecvWaiting(std::vector<std::shared_ptr<Buffer>>& buffers, std::size_t /*most*/) {
  const int count = RecvPacket(buffers.front(), Buffer::kDefaultCapacity, nullptr, true);
  return count < 1 ? count : 1;
}

}  // namespace orliq::lidar
