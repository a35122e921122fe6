// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#include "decoder/ExtrinsicTransform.h"
#include "decoder/Interval.h"
#include "decoder/LoopForm.h"
#include "multi_driver/PointTypes.h"

namespace orliq::lidar {

/// The value when `keep` is 1, +0 when it is 0. On the bits: a choice would become a branch for each
/// return.
inline float KeepOrZero(float value, std::int32_t keep) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  bits &= 0U - static_cast<std::uint32_t>(keep);
  std::memcpy(&value, &bits, sizeof bits);
  return value;
}

/// What all point records begin with, as words: x, y and z [m], intensity and ring.
using PointHead = std::uint32_t[4];
static_assert(sizeof(PointHead) == sizeof(Point));

/// The low 16 bits of the intensity and the ring, as they stand in a point.
constexpr std::uint32_t HeadTag(std::int32_t intensity, std::int32_t ring) {
  const auto low = static_cast<std::uint32_t>(intensity) & 0xFFFFU;
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  return low << 16 | static_cast<std::uint32_t>(ring);
#else
  return low | static_cast<std::uint32_t>(ring) << 16;
#endif
}

constexpr std::size_t kVectorBytes =
    32;  // of the widest form: a list that begins so is read faster

/// Up to N returns on their way to the cloud, field by field, so that each step is a loop that the
/// compiler vectorises. A decoder fills `count`, `distance`, `inside`, `tag` and the coordinates; then
/// Finish makes the heads of the points.
template <std::size_t N>
struct ReturnBatch {
  /// `transform` is null when it is switched off.
  ORLIQ_LOOP_STEP void Finish(const ExtrinsicTransform* transform, Interval range) {
    if (transform != nullptr) Transform(*transform);
    Gate(range);
    MakeHeads();
  }

  /// A point that begins with the head of the return, and is 0 behind it.
  template <typename P>
  P PointOf(std::size_t i) const {
    P point;
    std::memcpy(static_cast<void*>(&point), head[i], sizeof head[i]);
    return point;
  }

  std::size_t count = 0;
  std::size_t kept = 0;                          // of them, within all limits
  alignas(kVectorBytes) std::int32_t inside[N];  // 1 when the angle limits hold the beam, after the
                                                 // gate all limits
  alignas(kVectorBytes) float distance[N];       // [m] calibrated
  alignas(kVectorBytes) float x[N];              // [m]
  alignas(kVectorBytes) float y[N];              // [m]
  alignas(kVectorBytes) float z[N];              // [m]
  alignas(kVectorBytes) std::uint32_t tag[N];    // HeadTag
  alignas(kVectorBytes) PointHead head[N];

 private:
  ORLIQ_LOOP_STEP void Transform(ExtrinsicTransform matrix);
  /// Returns outside a limit go to the origin.
  ORLIQ_LOOP_STEP void Gate(Interval range);
  /// Only copies: a step that computes as well is not vectorised.
  ORLIQ_LOOP_STEP void MakeHeads();
};

template <std::size_t N>
void ReturnBatch<N>::Transform(ExtrinsicTransform matrix) {
  for (std::size_t i = 0; i < count; ++i) matrix.Apply(x[i], y[i], z[i]);
}

template <std::size_t N>
void ReturnBatch<N>::Gate(Interval range) {
  std::int32_t held = 0;
  for (std::size_t i = 0; i < count; ++i) {
    inside[i] &= range.Holds(distance[i]) ? 1 : 0;
    x[i] = KeepOrZero(x[i], inside[i]);
    y[i] = KeepOrZero(y[i], inside[i]);
    z[i] = KeepOrZero(z[i], inside[i]);
    held += inside[i];
  }
  kept = static_cast<std::size_t>(held);
}

template <std::size_t N>
void ReturnBatch<N>::MakeHeads() {
  for (std::size_t i = 0; i < count; ++i) {
    std::memcpy(&head[i][0], &x[i], sizeof x[i]);
    std::memcpy(&head[i][1], &y[i], sizeof y[i]);
    std::memcpy(&head[i][2], &z[i], sizeof z[i]);
    head[i][3] = tag[i];
  }
}

}  // namespace orliq::lidar
