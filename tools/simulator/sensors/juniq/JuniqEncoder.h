// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "simulator/sensors/ByteWriter.h"
#include "simulator/sensors/ImuMotion.h"
#include "simulator/sensors/Pulse.h"

namespace orliq::sim {

constexpr std::size_t kJuniqPacketBytes = 1104;
constexpr std::size_t kJuniqBlocksPerPacket = 64;

/// One beam on the wire. Default: nothing came back.
struct JuniqBlock {
  std::uint16_t position = 0;  ///< column + 256 * row
  std::uint16_t aux = 0;       ///< background light
  Pulse pulse;
};

/// What a packet says beside its beams.
struct JuniqState {
  std::uint64_t frame = 0;      ///< counts frames; its low 16 bits are sent
  double scene_time_s = 0.0;    ///< since the scene started
  double time_s = 0.0;          ///< seconds since 1970-01-01 UTC
  ImuSample imu;                ///< latest sample
  std::uint32_t imu_stamp = 0;  ///< 24 bits, another number for each sample, never 0
};

/// A packet is the head of WriteBlocksHead, kJuniqBlocksPerPacket blocks and one tail.
void WriteJuniqBlock(ByteWriter& writer, const JuniqBlock& block);
void WriteJuniqTail(ByteWriter& writer, const JuniqState& state);

}  // namespace orliq::sim
