// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "multi_driver/Export.h"

/// @file
/// The four point records. x points forward, y left and z up in the sensor frame, or in the vehicle
/// frame when the extrinsic transform is enabled and the model has it. A point outside the distance or
/// angle limits keeps its place in the cloud with x = y = z = 0, or is left out: which of both, and
/// whether the transform applies, tells SensorModel. Fields that a decoder does not write stay 0.
/// Sizes and byte positions are part of the interface: clouds are handed over as flat arrays. Which
/// model fills what: docs/point-types.md.

/// The smallest record: position, intensity and ring.
struct ORLIQ_API Point {
  float x = 0.0F;               ///< [m]
  float y = 0.0F;               ///< [m]
  float z = 0.0F;               ///< [m]
  std::uint16_t intensity = 0;  ///< strength of the return, sensor units
  std::uint16_t ring = 0;       ///< scan line or beam row
};
static_assert(sizeof(Point) == 16 && offsetof(Point, intensity) == 12 &&
              offsetof(Point, ring) == 14);

/// Point with the time of its measurement.
struct ORLIQ_API PointTime {
  float x = 0.0F;               ///< [m]
  float y = 0.0F;               ///< [m]
  float z = 0.0F;               ///< [m]
  std::uint16_t intensity = 0;  ///< strength of the return, sensor units
  std::uint16_t ring = 0;       ///< scan line or beam row
  double timestamp = 0.0;       ///< [s] since 1970-01-01 UTC; 0.0 of a model without time
};
static_assert(sizeof(PointTime) == 24 && offsetof(PointTime, timestamp) == 16);

/// PointTime with the range and room for the origin of the point. The record is byte-packed, so an
/// array of them has a stride of 37 bytes: copy fields out, never bind a reference to one.
struct ORLIQ_API __attribute__((packed)) PointSource {
  float x = 0.0F;               ///< [m]
  float y = 0.0F;               ///< [m]
  float z = 0.0F;               ///< [m]
  std::uint16_t intensity = 0;  ///< strength of the return, sensor units
  std::uint16_t ring = 0;       ///< scan line or beam row
  double timestamp = 0.0;       ///< [s] since 1970-01-01 UTC; 0.0 of a model without time
  /// [m] Calibrated range, truncated toward zero, also of a point outside the limits; 0 of Corvik and
  /// Kelvane.
  std::int32_t distance = 0;
  std::uint8_t source[9] = {};  ///< zero for a single sensor; free for the application
};
static_assert(sizeof(PointSource) == 37 && alignof(PointSource) == 1 &&
              offsetof(PointSource, timestamp) == 16 && offsetof(PointSource, distance) == 24 &&
              offsetof(PointSource, source) == 28);

/// Point with the raw measurement of a Juniq return, for calibration and signal work. Other models
/// leave everything after `ring` at 0.
struct ORLIQ_API JuniqPoint {
  float x = 0.0F;               ///< [m]
  float y = 0.0F;               ///< [m]
  float z = 0.0F;               ///< [m]
  std::uint16_t intensity = 0;  ///< of a Juniq the low 16 bits of `width`
  std::uint16_t ring = 0;       ///< scan line or beam row
  std::uint16_t row = 0;        ///< beam row again, the high byte of the beam position
  std::uint16_t column = 0;     ///< beam column, the low byte of the beam position
  std::uint16_t aux = 0;        ///< auxiliary word of the block, as received
  std::uint16_t width_ref = 0;  ///< divisor of the pulse ratio
  std::uint32_t peak = 0;       ///< pulse strength, 24 bits
  /// Time of flight, 24 bits, 1/64 count: (tof / 64 * 1.645 - 2.09) * 0.14989623 [m] is the range before
  /// calibration.
  std::uint32_t tof = 0;
  std::uint32_t width = 0;  ///< numerator of the pulse ratio, 24 bits
};
static_assert(sizeof(JuniqPoint) == 36 && offsetof(JuniqPoint, row) == 16 &&
              offsetof(JuniqPoint, column) == 18 && offsetof(JuniqPoint, aux) == 20 &&
              offsetof(JuniqPoint, width_ref) == 22 && offsetof(JuniqPoint, peak) == 24 &&
              offsetof(JuniqPoint, tof) == 28 && offsetof(JuniqPoint, width) == 32);
