// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "common/Counter.h"
#include "input/Input.h"
#include "input/SyncQueue.h"
#include "multi_driver/DriverStatistics.h"

namespace orliq::lidar {

/// The way of a live sensor's packets from the receiving to the decoding thread, and what is counted
/// on it: an unbounded queue unless a limit is set, and the buffers, which are used again.
///
/// Threads: Receive and GetBuffer belong to the receiving thread, Take to the decoding one, the rest
/// may be called from any.
class PacketFlow {
 public:
  /// Receives into `buffer`, puts it into the queue and replaces it by another one; beyond the limit
  /// the oldest packet is given up. False when none came.
  bool Receive(Input& input, std::shared_ptr<Buffer>& buffer);

  /// A free buffer, or a new one when there is none.
  std::shared_ptr<Buffer> GetBuffer();

  /// The oldest packet; empty when none is waiting.
  std::shared_ptr<Buffer> Take();

  /// Gives a buffer back.
  void Recycle(const std::shared_ptr<Buffer>& buffer);

  void SetLimit(std::uint64_t packets) { packets_.max_size = packets; }

  /// Stores what was received, waits and was given up. Against the way of a packet, after what the
  /// decoder counts and before what the input counts, so that no sum exceeds what was received.
  void Count(DriverStatistics& statistics) const;

 private:
  void DropBeyondLimit();

  SyncQueue<std::shared_ptr<Buffer>> packets_;  // filled by the receiving thread
  SyncQueue<std::shared_ptr<Buffer>> free_;     // filled by both, emptied by the receiving one
  Counter received_, received_bytes_, receive_errors_;
  Counter dropped_by_limit_;
  Counter last_packet_ns_;  // 0: none yet
  std::atomic<std::uint64_t> buffers_{0};
};

}  // namespace orliq::lidar
