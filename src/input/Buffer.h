// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "multi_driver/UploadStatistics.h"

namespace orliq::lidar {

/// Room for one packet. Buffers are recycled: one is made only when none is free. Always held by
/// `std::shared_ptr`; used by one thread at a time.
struct Buffer {
  /// The largest datagram that any sensor model sends fits in it with room to spare.
  static constexpr std::size_t kDefaultCapacity = 1546;  // [bytes]

  explicit Buffer(std::size_t bytes = kDefaultCapacity)
      : data(new std::uint8_t[bytes]), capacity(bytes) {}
  ~Buffer() { delete[] data; }
  Buffer(const Buffer&) = delete;
  Buffer& operator=(const Buffer&) = delete;

  std::uint8_t* data;             // owned
  std::uint64_t capacity;         // [bytes] size of `data`
  std::uint64_t data_offset = 0;  // where the packet begins in `data`
  std::uint64_t length = 0;       // [bytes] of the packet
  std::uint64_t arrival_ns = 0;   // since 1970 UTC, when the system received it; 0: it did not tell
  PacketSender sender;            // who sent it; of a capture: nobody

 private:
  // Allocators keep freed small pieces for later. Those of many buffers, one between each two arrays,
  // would keep the arrays' memory from the system after a stall.
  [[maybe_unused]] std::uint8_t no_small_piece_[104];
};

}  // namespace orliq::lidar
