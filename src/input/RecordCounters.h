// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "common/Counter.h"
#include "multi_driver/CaptureStatistics.h"

namespace orliq::lidar {

/// RecordCounts while they grow: one thread reads records, any thread asks.
struct RecordCounters {
  Counter records, packets;
  Counter not_udp, other_port, fragments, too_short, other_source, empty;
  Counter cut, too_long;
  Counter damaged;

  /// Against the way of a record, so that no sum exceeds what was read.
  RecordCounts Read() const {
    RecordCounts counts;
    counts.too_long = too_long.Value();
    counts.cut = cut.Value();
    counts.empty = empty.Value();
    counts.other_source = other_source.Value();
    counts.too_short = too_short.Value();
    counts.fragments = fragments.Value();
    counts.other_port = other_port.Value();
    counts.not_udp = not_udp.Value();
    counts.packets = packets.Value();
    counts.records = records.Value();
    counts.damaged = damaged.Value();
    return counts;
  }
};

}  // namespace orliq::lidar
