// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <vector>

#include "orliq/network/UdpReceiver.h"

namespace orliq::cli {

/// Received datagrams one behind the other.
struct DatagramBatch {
  struct Entry {
    double time_s;
    sim::UdpEndpoints endpoints;
    std::uint32_t sensor;
    std::size_t offset;  ///< of the payload in `payloads`
    std::size_t bytes;
  };

  std::vector<Entry> entries;
  std::vector<std::uint8_t> payloads;
};

/// Datagrams on their way from the receiving thread to the writing one, which takes all that wait
/// at once. The queue holds so many bytes of payload and kMaxEntries datagrams at most, and the batch
/// that is being written as much again: with the usual room together 216 MiB at the very most. The room
/// is set aside at the start but takes memory only where it is used, so receiving never waits for memory.
class DatagramQueue {
 public:
  static constexpr std::size_t kUsualBytes = std::size_t{64} << 20;  // 3 s of a 25 Hz Juniq
  static constexpr std::size_t kMaxEntries = std::size_t{1} << 20;

  explicit DatagramQueue(std::size_t max_bytes = kUsualBytes);

  /// Adds one, of the sensor of that index where there are several; when the queue is full it is lost and
  /// counted.
  void Push(const UdpReceiver::Datagram& datagram, std::size_t sensor = 0);

  /// Replaces what `batch` holds by all that waits; waits for the first one up to `patience`.
  void Take(DatagramBatch& batch, std::chrono::milliseconds patience);

  /// Datagrams that found the queue full.
  std::uint64_t Lost() const;

  /// An empty batch with all its room, for Take.
  DatagramBatch EmptyBatch() const;

 private:
  const std::size_t max_bytes_;
  mutable std::mutex mutex_;
  std::condition_variable arrival_;
  DatagramBatch waiting_;   // guarded by mutex_
  std::uint64_t lost_ = 0;  // guarded by mutex_
};

}  // namespace orliq::cli
