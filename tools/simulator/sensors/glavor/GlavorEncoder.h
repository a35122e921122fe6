// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "simulator/sensors/ByteWriter.h"
#include "simulator/sensors/Pulse.h"

namespace orliq::sim {

constexpr std::size_t kGlavorPacketBytes = 1360;
constexpr std::size_t kGlavorBlocksPerPacket = 32;

/// A packet is the head of WriteBlocksHead, kGlavorBlocksPerPacket blocks and one tail. A block's
/// position is column + 256 * row; the low 16 bits of the pulse's peak are its intensity.
void WriteGlavorBlock(ByteWriter& writer, std::uint16_t position, const Pulse& pulse);

/// `frame` counts frames; its low 16 bits are sent. No time is: this sensor has no clock.
void WriteGlavorTail(ByteWriter& writer, std::uint64_t frame, double scene_time_s);

}  // namespace orliq::sim
