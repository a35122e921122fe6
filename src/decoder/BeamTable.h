// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <vector>

#include "decoder/Trigon.h"

namespace orliq::lidar {

/// All that decoding reads of one beam position, worked out once when the check parameters arrive:
/// no table is searched and no angle converted for a point.
struct Beam {
  float sin_azimuth = 0.0F;
  float cos_azimuth = 1.0F;
  float sin_elevation = 0.0F;
  float cos_elevation = 1.0F;
  float offset = 0.0F;             // [m] subtracted from the raw range
  bool inside_angle_gates = true;  // the decoder's azimuth and elevation limits hold the beam
};

/// Direction of a beam in hundredths of a degree.
struct BeamAngles {
  int azimuth_cdeg;
  int elevation_cdeg;
};

/// Every value that the two position bytes of a block can have; positions beyond the calibration
/// tables included, so that a look-up needs no test.
constexpr std::size_t kAllPositions = 65536;
using BeamTable = std::vector<Beam>;

/// Table angle [deg] in hundredths of a degree: `scale` is 100.0, negative for a table that is
/// stored in the opposite sense of rotation. Truncated in double precision; saturates.
int TableAngle(float angle_deg, double scale);

/// Hundredths of a degree in degrees, rounded once: 5937 gives exactly 59.37f.
float CentidegreesToDegrees(int angle_cdeg);

/// The beam without its offset and gate. An angle outside the tables counts as 0.
Beam MakeBeam(const Trigon& trigon, const BeamAngles& angles);

}  // namespace orliq::lidar
