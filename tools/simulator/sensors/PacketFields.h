// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "simulator/sensors/ByteWriter.h"
#include "simulator/sensors/ImuMotion.h"

namespace orliq::sim {

// Fields that several of the little-endian models send, each at a place of its own.

/// Appends the 8 bytes by which these models are recognised.
void WriteIdentifier(ByteWriter& writer);

/// Appends the 25 bytes before the blocks of a packet: the identifier, and fields that say nothing of
/// the beams.
void WriteBlocksHead(ByteWriter& writer);

/// Appends u16 frame counter and two u16 temperatures of the unit, in steps of 1/16 deg C from
/// -64 deg C on. The unit warms up and cools down by 2 degrees in about ten minutes.
void WriteFrameWords(ByteWriter& writer, std::uint64_t frame, double scene_time_s);

/// Appends an inertial sample as six i16: acceleration, then angular velocity. The unit is built in
/// turned: each triple holds y, -z and -x of the point frame. What 16 bits cannot hold ends there.
/// The units are those of one count, [rad/s] and [m/s^2].
void WriteImuBlock(ByteWriter& writer, const ImuSample& sample, double gyro_unit,
                   double accel_unit);

/// Appends the 10-byte packet time: u24 microseconds within the second, u16 full year, then month
/// (1 to 12), day, hour, minute and second in one byte each. `time_s` is in seconds since
/// 1970-01-01 UTC, years 1970 to 9999.
void WriteUtcBlock(ByteWriter& writer, double time_s);

}  // namespace orliq::sim
