// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

namespace orliq::lidar {

/// Counts the packets of a Kelvane that did not come, by the gaps in their places, which count from 0
/// in every frame. What is lost behind the last packet that came of a frame is not known, and a packet
/// that comes twice hides a lost one, but for the latest.
class SequenceGaps {
 public:
  void Take(std::uint16_t place) {
    if (!begun_) return Begin(place);
    if (place + kReach + 1U < next_) return BeginNext(place);
    if (place >= next_ && !IsOfFrameBefore(place)) {
      skipped_ += place - next_;
      next_ = place + 1U;
      return;
    }
    // The next ones have overtaken it. The latest once more fills no gap.
    if (place + 1U < (place < next_ ? next_ : before_) && skipped_ > 0) --skipped_;
  }

  /// The next packet follows none: what lies before it is not known to have been sent.
  void NoteJump() {
    begun_ = false;
    before_ = 0;
  }

  std::uint64_t Skipped() const { return skipped_; }

 private:
  static constexpr unsigned kReach = 10;  // packets that may overtake one

  void Begin(unsigned place) {
    begun_ = true;
    next_ = place + 1U;
  }

  void BeginNext(unsigned place) {
    skipped_ += place;
    before_ = next_;
    Begin(place);
  }

  /// Whether the first packets of this frame have overtaken the last ones of that.
  bool IsOfFrameBefore(unsigned place) const {
    return next_ <= kReach && place >= next_ + kReach && place + kReach >= before_ &&
           place < before_ + kReach;
  }

  bool begun_ = false;
  unsigned next_ = 0;    // the place expected
  unsigned before_ = 0;  // that which was at the end of the frame before; 0: there was none
  std::uint64_t skipped_ = 0;
};

}  // namespace orliq::lidar
