// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// How the sensors that send a frame marker (Juniq, Glavor, Fennix) end a frame: one block has a beam
// position of its own.
namespace orliq::lidar {

constexpr bool IsFrameMarker(unsigned column, unsigned row) {
  return column == 0x7F && row == 0xBF;
}

/// A frame is closed by force once it has more points than this: its marker was lost.
constexpr std::uint32_t kForcedFramePoints = 99999;

/// Looks for the first marker among the blocks of a packet; false for none, or no packet. Stores its
/// place counted from 1, which is the first block after it, in `start`.
template <typename Msop>
bool FindFrameMarker(const Msop* msop, std::uint16_t& start) {
  for (std::size_t i = 0; msop != nullptr && i < Msop::kBlocks; ++i) {
    if (!IsFrameMarker(msop->blocks[i].column, msop->blocks[i].row)) continue;
    start = static_cast<std::uint16_t>(i + 1);
    return true;
  }
  return false;
}

/// Copies what the packet with the marker tells of the sensor into the cloud.
template <typename Msop, typename T_PointCloud>
void StoreFrameHeader(const Msop& msop, T_PointCloud& cloud) {
  constexpr double kUnit = 0.0625;   // [deg C]
  constexpr double kOffset = -64.0;  // [deg C]
  cloud.frame_word = msop.frame_word;
  cloud.temperature_a = msop.temperature_a * kUnit + kOffset;
  cloud.temperature_b = msop.temperature_b * kUnit + kOffset;
  cloud.status = msop.status;
}

}  // namespace orliq::lidar
