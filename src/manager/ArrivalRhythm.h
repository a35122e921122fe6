// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <chrono>
#include <cstddef>
#include <cstdint>

namespace orliq::lidar {

/// Foresees a live sensor's packets. It sends at a steady rate, and a frame ends when its period is
/// over; in between nobody waits for the single packet, and a thread that sleeps until several have
/// come needs a fraction of the CPU time of one that is woken for each.
///
/// Of one thread.
class ArrivalRhythm {
 public:
  /// For so many packets one may sleep, or so long.
  static constexpr std::uint64_t kPackets = 16;
  static constexpr std::chrono::nanoseconds kLongest{2'000'000};

  /// `packets` were taken at `now_ns` of a steady clock, others than the sensor's among them; with
  /// `bound` one of them shows the bound of a frame.
  void Note(std::uint64_t now_ns, std::size_t packets, bool bound);

  /// How long one may sleep from `now_ns` on; 0 when the next packet should be taken as it comes: near
  /// the end of a frame, after it is overdue, while packets lag behind, and while the rhythm is not
  /// known. Packets as close as no single sensor sends them always gather for a moment.
  std::chrono::nanoseconds Pause(std::uint64_t now_ns) const;

 private:
  struct Frame {
    std::uint64_t ns = 0;  // 0: not known
    std::uint64_t packets = 0;
  };

  std::uint64_t bound_ns_ = 0;  // when the latest bound came; 0: none yet
  std::uint64_t packets_ = 0;   // since then
  std::array<Frame, 2> last_;   // the two complete frames before, the latest first
  std::uint64_t latest_ns_ = 0;
  bool dense_ = false;  // the latest came as close as no single sensor sends them
};

}  // namespace orliq::lidar
