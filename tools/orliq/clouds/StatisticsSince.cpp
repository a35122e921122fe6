// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/StatisticsSince.h"

#include <algorithm>

namespace orliq::cli {
namespace {

using Driver = lidar::DriverStatistics;
using Records = lidar::RecordCounts;

constexpr std::uint64_t Driver::*kCounts[] = {
    &Driver::received,       &Driver::received_bytes,     &Driver::decoded,
    &Driver::refused_length, &Driver::refused_identifier, &Driver::returns,
    &Driver::gated,          &Driver::filtered,           &Driver::frames,
    &Driver::points,         &Driver::short_frames,       &Driver::skipped_packets};

constexpr std::uint64_t Records::*kRecords[] = {
    &Records::records,   &Records::packets,   &Records::not_udp,      &Records::other_port,
    &Records::fragments, &Records::too_short, &Records::other_source, &Records::empty,
    &Records::cut,       &Records::too_long,  &Records::damaged};

}  // namespace

Driver Since(const Driver& before, Driver now) {
  // Packets that come late after all are no longer missing.
  for (const auto count : kCounts) now.*count -= std::min(now.*count, before.*count);
  for (const auto count : kRecords) now.capture.played.*count -= before.capture.played.*count;
  return now;
}

}  // namespace orliq::cli
