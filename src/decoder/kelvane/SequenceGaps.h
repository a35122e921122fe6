// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace orliq::lidar {

/// Counts the packets of a Kelvane that did not come, by the gaps in their places, which count from 0
/// in every frame. What is lost behind the last packet that came of a frame is not known, and a packet
/// that comes twice hides a lost one.
class SequenceGaps {
 public:
  void Take(std::uint16_t place) {
    if (!begun_ || place + kReach < next_) {
      skipped_ += begun_ ? place : 0;  // a new frame
      next_ = place + 1U;
      begun_ = true;
    } else if (place >= next_) {
      skipped_ += place - next_;
      next_ = place + 1U;
    } else if (skipped_ > 0) {
      --skipped_;  // the next ones have overtaken it
    }
  }

  std::uint64_t Skipped() const { return skipped_; }

 private:
  static constexpr unsigned kReach = 10;  // places that a packet may come late

  bool begun_ = false;
  unsigned next_ = 0;  // the place expected
  std::uint64_t skipped_ = 0;
};

}  // namespace orliq::lidar
