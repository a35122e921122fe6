// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "decoder/PulseBatch.h"
#include "decoder/juniq/JuniqPacket.h"

namespace orliq::lidar {

struct JuniqSetup : PulseSetup {
  float left;   // [m] range offset of the columns below JuniqBatch::FIRST_RIGHT_COLUMN
  float right;  // [m] range offset of the others
};

/// The returns of a Juniq packet that are being decoded.
struct JuniqBatch : PulseBatch<JuniqMsop::kBlocks> {
  static constexpr float METRES_PER_UNIT = 0.14989623F;  // [m] half the light path of a nanosecond
  static constexpr int FIRST_RIGHT_COLUMN = 128;         // where the receiver's other half begins

  alignas(kVectorBytes) std::int32_t is_null[JuniqMsop::kBlocks];  // 1 when nothing was measured

  /// Time of flight to calibrated range. A range that is not positive after its offset is a null
  /// point: the sensor saw nothing there.
  ORLIQ_LOOP_STEP void MeasureRange(JuniqSetup setup) {
    for (std::size_t i = 0; i < count; ++i) {
      const float raw = RawDistance(tof[i], METRES_PER_UNIT) - offset[i];
      is_null[i] = raw <= 0.0F;
      const float ratio = static_cast<float>(width[i]) / static_cast<float>(width_ref[i]);
      const float side = column[i] < FIRST_RIGHT_COLUMN ? setup.left : setup.right;
      distance[i] = CalibrateDistance(raw, ratio, setup.weights) - side;
    }
    for (std::size_t i = 0; i < count; ++i) {
      const float strength = static_cast<float>(peak[i]);
      const float range = FilterNearNoisePoints(distance[i], strength, setup.noise_filter);
      distance[i] = is_null[i] != 0 ? 0.0F : range;
      inside[i] &= is_null[i] ^ 1;
      tag[i] = HeadTag(width[i], row[i]);
    }
  }
};

}  // namespace orliq::lidar
