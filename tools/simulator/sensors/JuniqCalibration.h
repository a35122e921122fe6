// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/scene/Vec3.h"
#include "simulator/sensors/CheckFolder.h"

namespace orliq::sim {

constexpr std::size_t kJuniqRows = 192;     // rings, row 0 looks up the most
constexpr std::size_t kJuniqColumns = 256;  // column 0 looks left the most
constexpr std::size_t kJuniqBeams = kJuniqRows * kJuniqColumns;

/// Calibration of one Juniq unit. Tables are indexed by beam position, column + 256 * row.
struct JuniqCalibration {
  std::vector<float> azimuth;    ///< [deg] in the sensor's sense of rotation: positive to the right
  std::vector<float> elevation;  ///< [deg] positive upwards
  std::vector<float> offset;     ///< [m] subtracted from the raw range

  /// Range correction [m] to subtract, for pulse ratio r and range d after the offset:
  /// [2] * r^2 + [0] * r + [1] * d + [3].
  std::array<float, 4> weight{};

  /// [0], [1] peak asked of returns nearer than [1] metres, falling to none there; [2], [3] peak
  /// asked of returns nearer than [3] metres; [4] 1 switches the radius filter on, [5] its radius
  /// [m], [6] its neighbour count; [7] range offset [m] of columns from 128 on, [8] of those below.
  std::array<float, 9> near_filter{};

  /// Unit vector of a beam in the point frame.
  Vec3 Direction(std::size_t position) const;

  /// The tables as a check-parameter folder holds them.
  std::vector<CheckTable> Tables() const;
};

/// The calibration of the unit with this seed: a regular fan of 120 by 40 degrees with small
/// deviations of its own.
JuniqCalibration MakeJuniqCalibration(std::uint64_t seed, bool radius_filter);

}  // namespace orliq::sim
