// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder/BeamTable.h"
#include "decoder/FrameMarker.h"
#include "decoder/ReturnBatch.h"

namespace orliq::lidar {

/// Returns of a sensor that measures a time of flight and the widths of its pulses (Juniq, Glavor).
template <typename T_PointCloud, std::size_t N>
struct PulseBatch : ReturnBatch<T_PointCloud, N> {
  /// Takes `returns` blocks apart and looks their beams up; true when the frame marker is among
  /// them.
  template <typename Block>
  bool Gather(const Block* blocks, std::size_t returns, const BeamTable& beams);

  /// Range and beam direction to coordinates.
  void Locate();

  std::int32_t Column(std::size_t i) const { return position[i] & 0xFF; }
  std::int32_t Row(std::size_t i) const { return position[i] >> 8; }

  BeamDirection direction[N];
  std::int32_t position[N];  // column + 256 x row
  std::int32_t tof[N];       // 1/64 count
  std::int32_t peak[N];
  std::int32_t width[N];
  std::int32_t width_ref[N];
  float offset[N];  // [m] subtracted from the raw range
};

template <typename T_PointCloud, std::size_t N>
template <typename Block>
bool PulseBatch<T_PointCloud, N>::Gather(const Block* blocks, std::size_t returns,
                                         const BeamTable& beams) {
  bool marker = false;
  for (std::size_t i = 0; i < returns; ++i) {
    const Block& block = blocks[i];
    marker |= IsFrameMarker(block.column, block.row);
    position[i] = block.column + 256 * block.row;
    tof[i] = static_cast<std::int32_t>(block.tof);
    peak[i] = static_cast<std::int32_t>(block.peak);
    width[i] = static_cast<std::int32_t>(block.width);
    width_ref[i] = block.width_ref;
    const Beam& beam = beams.At(block.column, block.row);
    direction[i] = beam.direction;
    offset[i] = beam.offset;
    this->inside[i] = beam.inside;
  }
  this->count = returns;
  return marker;
}

template <typename T_PointCloud, std::size_t N>
void PulseBatch<T_PointCloud, N>::Locate() {
  for (std::size_t i = 0; i < this->count; ++i) {
    LocateAhead(this->distance[i], direction[i], this->x[i], this->y[i], this->z[i]);
  }
}

}  // namespace orliq::lidar
