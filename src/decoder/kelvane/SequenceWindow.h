// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>

namespace orliq::lidar {

/// Follows the sequence numbers of a Kelvane sensor, which start again at 1 with every frame.
/// Packets may be lost or overtake each other by up to ten places; a number further behind than that
/// is a new frame, one further ahead is not believed. All numbers are modulo 65,536.
class SequenceWindow {
 public:
  enum class Outcome {
    Accepted,  ///< the next position of the frame
    NewFrame,  ///< the number has fallen
    Outside,   ///< behind the last position, or too far ahead: the position stays
  };

  Outcome Take(std::uint16_t sequence) {
    const std::uint16_t index = IndexOf(sequence);
    if (lower_ > index) {
      MoveTo(index);
      return Outcome::NewFrame;
    }
    // Before anything but the first index was accepted, any number ahead will do.
    if (index >= last_ && (index <= upper_ || last_ == 0)) {
      MoveTo(index);
      return Outcome::Accepted;
    }
    MoveTo(last_);
    return Outcome::Outside;
  }

  /// Place of the packet in its frame, from 0 on.
  static std::uint16_t IndexOf(std::uint16_t sequence) {
    return static_cast<std::uint16_t>(sequence - 1);
  }

 private:
  static constexpr std::uint16_t kReach = 10;

  void MoveTo(std::uint16_t index) {
    last_ = index;
    lower_ = static_cast<std::uint16_t>(std::max(index, kReach) - kReach);
    upper_ = static_cast<std::uint16_t>(index + kReach);
  }

  std::uint16_t last_ = 0;  // index that was accepted last
  std::uint16_t lower_ = 0;
  std::uint16_t upper_ = kReach;
};

}  // namespace orliq::lidar
