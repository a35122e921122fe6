// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/HoldUp.h"

#include <utility>

namespace orliq::cli {

HoldUp HoldUpWatch::Look(const SensorCounts& counts, double now) {
  const lidar::DriverStatistics& packets = counts.packets;
  NoteArrivals(packets, now);
  const bool has_ended = std::exchange(ended_, counts.ended) != counts.ended;
  if (has_ended || counts.waits) frame_ = now;
  if (packets.received == 0) return now < kPatience ? HoldUp::kNone : HoldUp::kSilent;
  const double silence = now - received_;
  if (packets.decoded > 0 && silence >= kPatience) return HoldUp::kStalled;
  const bool may_stall = packets.decoded > 0 && silence >= kPatience / 2;
  if (now - frame_ < kPatience || may_stall) return HoldUp::kNone;
  return now - decoded_ < kPatience ? HoldUp::kNoFrame : HoldUp::kRefused;
}

void HoldUpWatch::NoteArrivals(const lidar::DriverStatistics& packets, double now) {
  if (std::exchange(decoded_packets_, packets.decoded) != packets.decoded) decoded_ = now;
  if (std::exchange(received_packets_, packets.received) == packets.received) {
    gap_ = now - received_;
    return;
  }
  gap_ = now - packets.last_packet_age_s - received_;
  if (received_ == 0.0 || gap_ >= kPatience) frame_ = now;  // its first frame has only begun
  received_ = now - packets.last_packet_age_s;
}

}  // namespace orliq::cli
