// SPDX-License-Identifier: Apache-2.0
#include "manager/ArrivalRhythm.h"

#include <algorithm>

namespace orliq::lidar {
namespace {

// A timer costs as much as a few packets: for fewer it does not pay.
constexpr std::uint64_t kWorthwhile = 4;

// This share of a frame's period before its end is watched closely: sensors and paths are not exact.
constexpr std::uint64_t kWatchedShare = 8;

// By so many packets a frame may lag. If it lags more, they were held up on the way, by a switch or a
// radio bridge, and may all come at once.
constexpr std::uint64_t kLag = 2 * ArrivalRhythm::kPackets;

// Packets that come closer than this, which takes many sensors on one port, are let gather anywhere in
// a frame: to sleep and be woken for each costs more than all the rest, and the sender pays for a part
// of it. Where many gather anyway there is no time to sleep.
constexpr std::uint64_t kDenseNs = 5'000;
constexpr std::chrono::nanoseconds kDensePause{50'000};

}  // namespace

void ArrivalRhythm::Note(std::uint64_t now_ns, std::size_t packets, bool bound) {
  dense_ = now_ns - latest_ns_ < packets * kDenseNs && packets < 2 * kPackets;
  latest_ns_ = now_ns;
  packets_ += packets;
  if (!bound) return;
  if (bound_ns_ != 0) {
    last_[1] = last_[0];
    last_[0] = {now_ns - bound_ns_, packets_};
  }
  bound_ns_ = now_ns;
  packets_ = 0;
}

std::chrono::nanoseconds ArrivalRhythm::Pause(std::uint64_t now_ns) const {
  const std::chrono::nanoseconds at_least = dense_ ? kDensePause : std::chrono::nanoseconds{0};
  // After a bound that got lost a frame seems twice as long: the shorter of two tells.
  const Frame& frame = last_[0].ns < last_[1].ns ? last_[0] : last_[1];
  if (frame.ns == 0) return at_least;
  const std::uint64_t interval = std::max<std::uint64_t>(frame.ns / frame.packets, 1);
  const auto longest = static_cast<std::uint64_t>(kLongest.count());
  if (interval * kWorthwhile > longest) return at_least;
  if ((now_ns - bound_ns_) / interval > packets_ + kLag) return at_least;
  const std::uint64_t pause = std::min(interval * kPackets, longest);
  const std::uint64_t watched_from = bound_ns_ + frame.ns - frame.ns / kWatchedShare;
  if (now_ns + pause > watched_from) return at_least;
  return std::max(std::chrono::nanoseconds(pause), at_least);
}

}  // namespace orliq::lidar
