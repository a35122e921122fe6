// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/scene/Vec3.h"
#include "simulator/sensors/CheckFolder.h"
#include "simulator/sensors/Random.h"

namespace orliq::sim {

constexpr std::size_t kBeamRows = 192;     // rings, row 0 looks up the most
constexpr std::size_t kBeamColumns = 256;  // column 0 looks left the most
constexpr std::size_t kBeams = kBeamRows * kBeamColumns;

/// Calibration of a unit whose every beam is measured. Tables are indexed by beam position,
/// column + 256 * row.
struct BeamCalibration {
  std::vector<float> azimuth;    ///< [deg] in the sensor's sense of rotation: positive to the right
  std::vector<float> elevation;  ///< [deg] positive upwards
  std::vector<float> offset;     ///< [m] subtracted from the raw range; no numbers: no such table

  /// Range correction [m] to subtract, for pulse ratio r and range d after the offset:
  /// [2] * r^2 + [0] * r + [1] * d + [3].
  std::array<float, 4> weight{};

  /// [0], [1] peak asked of returns nearer than [1] metres, falling to none there; [2], [3] peak
  /// asked of returns nearer than [3] metres. The others are the model's own.
  std::array<float, 9> near_filter{};

  /// Unit vector of each beam in the point frame.
  std::vector<Vec3> Directions() const;

  /// The tables as a check-parameter folder holds them.
  std::vector<CheckTable> Tables() const;
};

/// How the beams of a model spread.
struct BeamFan {
  double column_step = 0.0;    ///< [deg] between columns, which lie evenly to both sides of ahead
  double top_elevation = 0.0;  ///< [deg] of row 0
  double row_step = 0.0;       ///< [deg] downwards from row to row
  bool range_offsets = false;  ///< whether the calibration has an offset for each beam
};

/// A calibration drawn from `random`: a regular fan with small deviations of its own, and the range
/// correction.
BeamCalibration MakeBeamCalibration(const BeamFan& fan, Random& random);

/// A number of four decimals, as a calibration bench would note it down.
float Noted(double value);

/// The positions in the order sent: column by column, each from row 0 to row 191, through columns
/// 128 to 255 and then 0 to 127, so that the block which marks the end of a frame (column 127, row
/// 191) is its last one.
std::vector<std::uint16_t> BeamOrder();

}  // namespace orliq::sim
