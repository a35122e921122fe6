// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include "common/Counter.h"
#include "input/Input.h"
#include "input/RecordCounters.h"
#include "multi_driver/DriverParam.h"
#include "multi_driver/DriverStatistics.h"

namespace orliq::lidar {

/// Reads the records of a capture, to find its frames or to play one, and counts them for either.
///
/// Threads: reading belongs to the worker, Count to any.
class RecordReader {
 public:
  /// False when the source is unknown or cannot be opened.
  bool Open(const DriverParam& param, std::uint32_t source);
  void Close() { input_.reset(); }
  bool IsOpen() const { return input_ != nullptr; }

  /// Reads the next record in search of frames, and stores its position. The bytes of the datagram;
  /// 0 for a foreign record, negative at the end of the file.
  int Index(long& position) { return Read(indexed_, &position, true); }

  /// Likewise for a frame that plays: the record at a position, or the next one.
  int PlayAt(long position) { return Read(played_, &position, false); }
  int PlayNext() { return Read(played_, nullptr, false); }

  /// The datagram that was read last.
  const std::uint8_t* Data() const { return buffer_->data + buffer_->data_offset; }
  std::size_t Length() const { return buffer_->length; }

  /// Against the way of a packet, after what the decoder counts.
  void Count(DriverStatistics& statistics) const;

 private:
  int Read(RecordCounters& counters, long* position, bool remember);

  std::shared_ptr<Input> input_;
  std::shared_ptr<Buffer> buffer_;
  RecordCounters indexed_, played_;
  Counter played_bytes_;
  int foreign_ = 0;  // records in a row
};

}  // namespace orliq::lidar
