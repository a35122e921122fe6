// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

namespace orliq::lidar {

constexpr std::size_t kBeamPositions = 49152;  ///< entries of a beam table, whatever the model
constexpr std::size_t kWeights = 4;            ///< coefficients of the range correction
constexpr std::size_t kNearFilters = 9;        ///< settings of the near-range and radius filters

// The check parameters: what was measured of one sensor when it was calibrated. The records are
// byte-packed, so their float tables stand at odd offsets: copy a table or a whole record with
// memcpy, never bind a pointer or a reference to one of its floats.

/// Start of every record, and the whole record of the models that need no tables.
struct __attribute__((packed)) CheckParam {
  std::uint8_t flag = 0;  ///< always 0; says nothing about whether tables were loaded
};

/// Record of the models with angle tables.
struct __attribute__((packed)) AngleCheckParam : CheckParam {
  float azimuth[kBeamPositions] =
      {};  ///< [deg] per beam position, in the sensor's sense of rotation
  float elevation[kBeamPositions] = {};  ///< [deg] per beam position, positive upward

  /// Correction c that is subtracted from a range d, with r the pulse ratio width / width_ref:
  /// c = weight[2] * r * r + weight[0] * r + weight[1] * d + weight[3].
  float weight[kWeights] = {};

  /// [0] strength that a return at range 0 needs, falling linearly to 0 at the outer limit
  /// [1] outer limit of the near-range filter [m]; 0 switches it off
  /// [2] strength that a return below the inner limit needs
  /// [3] inner limit of the near-range filter [m]
  /// [4] 1.0 switches the radius filter on
  /// [5] radius of the radius filter [m]
  /// [6] neighbours that the radius filter asks for
  /// [7] subtracted from the range in columns from 128 on [m]
  /// [8] subtracted from the range in columns below 128 [m]
  float near_filter[kNearFilters] = {};
};

/// Record of the models whose ranges have an offset per beam as well.
struct __attribute__((packed)) OffsetCheckParam : AngleCheckParam {
  float offset[kBeamPositions] = {};  ///< [m] per beam position, subtracted from the raw range
};

#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Winvalid-offsetof"
static_assert(sizeof(CheckParam) == 1 && sizeof(AngleCheckParam) == 393269 &&
              sizeof(OffsetCheckParam) == 589877);
static_assert(alignof(AngleCheckParam) == 1 && alignof(OffsetCheckParam) == 1);
static_assert(offsetof(AngleCheckParam, flag) == 0 && offsetof(AngleCheckParam, azimuth) == 1 &&
              offsetof(AngleCheckParam, elevation) == 196609 &&
              offsetof(AngleCheckParam, weight) == 393217 &&
              offsetof(AngleCheckParam, near_filter) == 393233);
static_assert(offsetof(OffsetCheckParam, offset) == 393269);
#pragma GCC diagnostic pop

}  // namespace orliq::lidar
