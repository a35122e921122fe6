// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

namespace orliq::lidar {

/// Follows the sequence numbers of a Kelvane sensor, which start again at 1 with every frame.
/// Packets may be lost or overtake each other by up to ten places; a number further behind than that
/// is a new frame, one further ahead is not believed. All numbers are modulo 65,536.
///
/// Not believed for good: when more than ten packets in a row are lost within the first eleven places
/// of a frame, its end is not seen, and the next frame joins it.
class SequenceWindow {
 public:
  enum class Outcome {
    Accepted,  ///< the next position of the frame
    NewFrame,  ///< the number has fallen
    Outside,   ///< behind the last position, or too far ahead: the position stays
  };

  Outcome Take(std::uint16_t sequence) {
    const std::uint16_t index = IndexOf(sequence);
    if (index < std::max(last_, kReach) - kReach) {
      last_ = index;
      return Outcome::NewFrame;
    }
    // As long as the last index is 0, any number ahead will do.
    const auto farthest = static_cast<std::uint16_t>(last_ + kReach);
    if (index < last_ || (index > farthest && last_ != 0)) return Outcome::Outside;
    last_ = index;
    return Outcome::Accepted;
  }

  /// Place of the packet in its frame, from 0 on.
  static std::uint16_t IndexOf(std::uint16_t sequence) {
    return static_cast<std::uint16_t>(sequence - 1);
  }

 private:
  static constexpr std::uint16_t kReach = 10;

  std::uint16_t last_ = 0;  // index of the position
};

}  // namespace orliq::lidar
