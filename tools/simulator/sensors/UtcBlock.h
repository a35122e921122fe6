// SPDX-License-Identifier: Apache-2.0
#pragma once

#include "simulator/sensors/ByteWriter.h"

namespace orliq::sim {

/// Appends the 10-byte packet time of the little-endian models: u24 microseconds within the second,
/// u16 full year, then month (1 to 12), day, hour, minute and second in one byte each.
/// `time_s` is in seconds since 1970-01-01 UTC, years 1970 to 9999.
void WriteUtcBlock(ByteWriter& writer, double time_s);

}  // namespace orliq::sim
