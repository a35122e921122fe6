// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "common/WireField.h"
#include "decoder/BeamTable.h"
#include "decoder/FrameMarker.h"
#include "decoder/RangeChain.h"
#include "decoder/ReturnBatch.h"

namespace orliq::lidar {

/// What decoding a packet of such a sensor needs beside its blocks. A value to be copied: a loop that
/// stores floats need not fear for it.
struct PulseSetup {
  const BeamTable& beams;
  RangeWeights weights;
  NearFilter noise_filter;
  const ExtrinsicTransform* transform;  // null: switched off
  Interval range;
};

/// Returns of a sensor that measures a time of flight and the widths of its pulses (Juniq, Glavor).
/// The steps follow in the order in which they stand here; the sensor's own, from time of flight to
/// `distance` and `tag`, comes before the last.
template <std::size_t N>
struct PulseBatch : ReturnBatch<N> {
  /// Takes `count` blocks apart.
  template <typename Block>
  ORLIQ_LOOP_STEP void TakeApart(const Block* __restrict blocks);

  /// Looks the beams of the returns up.
  ORLIQ_LOOP_STEP void LookUp(const BeamTable& beams);

  /// Range and beam direction to the heads of the points.
  ORLIQ_LOOP_STEP void Locate(const PulseSetup& setup);

  bool marker = false;  // the frame marker is among the blocks
  alignas(kVectorBytes) std::int32_t column[N];
  alignas(kVectorBytes) std::int32_t row[N];
  alignas(kVectorBytes) std::int32_t tof[N];  // 1/64 count
  alignas(kVectorBytes) std::int32_t peak[N];
  alignas(kVectorBytes) std::int32_t width[N];
  alignas(kVectorBytes) std::int32_t width_ref[N];
  alignas(kVectorBytes) BeamDirection direction[N];
  alignas(kVectorBytes) float offset[N];  // [m] subtracted from the raw range
};

template <std::size_t N>
template <typename Block>
void PulseBatch<N>::TakeApart(const Block* __restrict blocks) {
  static_assert(sizeof(Block) % sizeof(std::uint32_t) == 0);
  for (std::size_t i = 0; i < this->count; ++i) {
    const auto* const block = reinterpret_cast<const std::uint8_t*>(blocks + i);
    column[i] = WireField<offsetof(Block, column), sizeof(Block::column)>(block);
    row[i] = WireField<offsetof(Block, row), sizeof(Block::row)>(block);
    width_ref[i] = WireField<offsetof(Block, width_ref), sizeof(Block::width_ref)>(block);
    tof[i] = WireField<offsetof(Block, tof), sizeof(Block::tof)>(block);
    peak[i] = WireField<offsetof(Block, peak), sizeof(Block::peak)>(block);
    width[i] = WireField<offsetof(Block, width), sizeof(Block::width)>(block);
  }
  std::int32_t markers = 0;
  for (std::size_t i = 0; i < this->count; ++i) {
    markers |=
        IsFrameMarker(static_cast<unsigned>(column[i]), static_cast<unsigned>(row[i])) ? 1 : 0;
  }
  marker = markers != 0;
}

/// A beam lies somewhere in a table of more than a megabyte: it is fetched whole, by two loads, and
/// sorted into the lists by vectors.
template <std::size_t N>
void PulseBatch<N>::LookUp(const BeamTable& beams) {
  const Beam* const table = beams.Data();
  const std::size_t returns = this->count;
  std::uint32_t rest[N][2];
  for (std::size_t i = 0; i < returns; ++i) {
    const Beam& beam = table[BeamTable::Index(column[i], row[i])];
    std::memcpy(&direction[i], &beam.direction, sizeof direction[i]);
    static_assert(offsetof(Beam, inside) == offsetof(Beam, offset) + sizeof(float));
    std::memcpy(rest[i], &beam.offset, sizeof rest[i]);
  }
  for (std::size_t i = 0; i < returns; ++i) {
    std::memcpy(&offset[i], &rest[i][0], sizeof offset[i]);
    this->inside[i] = static_cast<std::int32_t>(rest[i][1]);
  }
}

template <std::size_t N>
void PulseBatch<N>::Locate(const PulseSetup& setup) {
  for (std::size_t i = 0; i < this->count; ++i) {
    const BeamDirection beam = direction[i];
    LocateAhead(this->distance[i], beam, this->x[i], this->y[i], this->z[i]);
  }
  this->Finish(setup.transform, setup.range);
}

/// From blocks to the heads of their points.
struct PulseLoop {
  template <typename Block, typename Setup, typename Batch>
  ORLIQ_LOOP_STEP static void Run(const Block* blocks, const Setup& setup, Batch& batch) {
    batch.TakeApart(blocks);
    batch.LookUp(setup.beams);
    batch.MeasureRange(setup);
    batch.Locate(setup);
  }
};

}  // namespace orliq::lidar
