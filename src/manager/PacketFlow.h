// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <vector>

#include "common/Counter.h"
#include "common/WakeDescriptor.h"
#include "common/Wakeup.h"
#include "input/Input.h"
#include "input/SyncQueue.h"
#include "manager/ArrivalRhythm.h"
#include "multi_driver/DriverStatistics.h"

namespace orliq::lidar {

/// The way of a live sensor's packets from the receiving to the decoding thread, and what is counted
/// on it: an unbounded queue unless a limit is set, and the buffers, which are used again.
///
/// Both threads sleep while there is nothing to do. To wake a thread costs more than to decode a
/// packet. So the receiving one lets several gather where none of them is urgent, and the decoding one
/// is woken for several packets at once, for one that shows the bound of a frame, and for one that
/// comes long after it was woken last. When a flow ends, the few packets that it was not woken for are
/// found because for a while it looks again by itself.
///
/// Threads: those from BeginReceiving to ReleaseBuffers belong to the receiving thread, Take and
/// WaitForPackets to the decoding one, the rest may be called from any.
class PacketFlow {
 public:
  /// Tells of a packet whether it shows the bound of a frame.
  using Bound = std::function<bool(const Buffer&)>;

  /// Forgets an earlier WakeReceiver, and looks how much room the input has.
  void BeginReceiving(const Input& input);

  /// Receives what is waiting, or waits for it until it comes or somebody calls WakeReceiver; beyond
  /// the limit the oldest packets are given up.
  void Receive(Input& input, const Bound& shows_bound);

  /// Receives what is waiting, when no more is to be received: what had come before is not left behind
  /// for the next time, or uncounted. Of a flood only so much that it ends.
  void ReceiveRest(Input& input, const Bound& shows_bound);

  /// Gives the buffers back that were to be filled next.
  void ReleaseBuffers();

  /// The oldest packet; empty when none is waiting.
  std::shared_ptr<Buffer> Take();

  /// Waits until there is something to do for the decoding thread, or somebody calls WakeDecoder.
  void WaitForPackets();

  void WakeReceiver() const { receiver_wakeup_.Signal(); }
  void WakeDecoder() { decoder_wakeup_.Signal(); }

  /// Gives a buffer back.
  void Recycle(const std::shared_ptr<Buffer>& buffer);

  void SetLimit(std::uint64_t packets) { packets_.max_size = packets; }

  /// Stores what was received, waits and was given up. Against the way of a packet, after what the
  /// decoder counts and before what the input counts, so that no sum exceeds what was received.
  void Count(DriverStatistics& statistics) const;

 private:
  std::size_t TakeWaiting(Input& input, const Bound& shows_bound);
  void NoteArrival(std::size_t datagrams, bool bound);
  bool LetGather();
  void Enqueue(std::size_t count);
  void Announce(bool at_once);
  std::uint64_t Enough() const;
  std::shared_ptr<Buffer> GetBuffer();
  void DropBeyondLimit();

  SyncQueue<std::shared_ptr<Buffer>> packets_;  // filled by the receiving thread
  SyncQueue<std::shared_ptr<Buffer>> free_;     // filled by both, emptied by the receiving one
  std::vector<std::shared_ptr<Buffer>> batch_;  // to be filled next; of the receiving thread
  // Of the receiving thread:
  std::uint64_t arrival_ns_ = 0;   // of the latest datagrams
  std::uint64_t passed_over_ = 0;  // so far, by the input
  bool close_ = false;             // the latest came soon after those before
  bool roomy_ = false;             // several packets may wait in the socket
  ArrivalRhythm rhythm_;
  std::uint64_t unannounced_ = 0;   // packets that the decoder was not woken for
  std::uint64_t announced_ns_ = 0;  // when it was
  bool flowing_ = false;            // it was of late; of the decoding thread
  WakeDescriptor receiver_wakeup_;
  Wakeup decoder_wakeup_;
  Counter received_, received_bytes_, receive_errors_;
  Counter dropped_by_limit_;
  Counter last_packet_ns_;  // 0: none yet
  std::atomic<std::uint64_t> buffers_{0};
};

}  // namespace orliq::lidar
