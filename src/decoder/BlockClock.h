// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace orliq::lidar {

/// Times of returns: 256 blocks in a row share one, that of the packet in which the group before
/// them ended. The groups run on across frames, but a frame begins with the time of its own first
/// packet.
class BlockClock {
 public:
  /// To be told of each packet before its blocks.
  void Begin(double packet_time) {
    if (time_ == 0.0) time_ = packet_time;
  }

  /// Time [s] of the block `ahead` blocks on, which is less than a group away.
  double TimeOf(std::size_t ahead, double packet_time) const {
    return ahead < kGroup - blocks_ ? time_ : packet_time;
  }

  /// Goes on by `blocks` blocks, at most a group of them.
  void Advance(std::size_t blocks, double packet_time) {
    if (blocks >= kGroup - blocks_) time_ = packet_time;
    blocks_ = (blocks_ + blocks) % kGroup;
  }

  void EndFrame() { time_ = 0.0; }

 private:
  static constexpr std::size_t kGroup = 256;

  double time_ = 0.0;       // [s] UTC of the group; 0: the next packet sets it
  std::size_t blocks_ = 0;  // of the group so far
};

}  // namespace orliq::lidar
