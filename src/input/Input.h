// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>

#include "input/Buffer.h"

namespace orliq::lidar {

/// Source of raw sensor packets. Init runs once on the caller's thread, RecvPacket afterwards on
/// one worker thread.
class Input {
 public:
  Input() = default;
  virtual ~Input() = default;
  Input(const Input&) = delete;
  Input& operator=(const Input&) = delete;

  /// Opens the source; false when that fails.
  virtual bool Init() = 0;

  /// Delivers one packet of at most `size` bytes into `buffer` and returns its length in bytes; 0
  /// when there is none for now, negative at the end of the source or on an error. What `position`
  /// and `remember` mean is the source's business.
  virtual int RecvPacket(std::shared_ptr<Buffer>& buffer, const int& size, long* position,
                         const bool& remember) = 0;

  /// Datagrams that the system threw away because its buffer of this source was full, and the size
  /// of that buffer. 0 for a source that loses nothing.
  virtual std::uint64_t DroppedDatagrams() const { return 0; }
  virtual std::uint64_t SocketBufferBytes() const { return 0; }
};

}  // namespace orliq::lidar
