// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "decoder/BeamDirection.h"

namespace orliq::lidar {

/// All that decoding reads of one beam position, worked out once when the check parameters arrive:
/// no table is searched and no angle converted for a point.
struct Beam {
  BeamDirection direction;
  float offset = 0.0F;      // [m] subtracted from the raw range
  std::int32_t inside = 1;  // 1 when the decoder's azimuth and elevation limits hold the beam
};

/// Direction of a beam in hundredths of a degree.
struct BeamAngles {
  int azimuth_cdeg;
  int elevation_cdeg;
};

/// The beams of a sensor, for every value that the two position bytes of a block can have;
/// positions beyond the calibration tables included, so that a look-up needs no test. A packet
/// mostly holds rows of one column, so these stand together in memory.
class BeamTable {
 public:
  static constexpr std::size_t kPositions = 65536;

  BeamTable() : beams_(kPositions) {}
  /// All kPositions beams, by Index.
  const Beam* Data() const { return beams_.data(); }
  /// Place of the beam; both numbers are bytes.
  static std::size_t Index(std::int32_t column, std::int32_t row) {
    return static_cast<std::size_t>(column) * 256 + static_cast<std::size_t>(row);
  }

  /// Works all beams out: `angles(position)` gives their directions, `offset(position)` their range
  /// offsets [m], `inside(azimuth, elevation)` [deg] tells whether the limits hold them.
  template <typename Angles, typename Offset, typename Inside>
  void Fill(const Trigon& trigon, const Angles& angles, const Offset& offset, const Inside& inside);

 private:
  std::vector<Beam> beams_;
};

/// Table angle [deg] in hundredths of a degree: `scale` is 100.0, negative for a table that is
/// stored in the opposite sense of rotation. Truncated in double precision; saturates.
int TableAngle(float angle_deg, double scale);

template <typename Angles, typename Offset, typename Inside>
void BeamTable::Fill(const Trigon& trigon, const Angles& angles, const Offset& offset,
                     const Inside& inside) {
  for (std::size_t i = 0; i < kPositions; ++i) {
    const auto position = static_cast<std::uint16_t>(i);
    const BeamAngles beam = angles(position);
    const bool held = inside(CentidegreesToDegrees(beam.azimuth_cdeg),
                             CentidegreesToDegrees(beam.elevation_cdeg));
    beams_[Index(position & 0xFF, position >> 8)] = {
        {LookUp(trigon, beam.azimuth_cdeg), LookUp(trigon, beam.elevation_cdeg)},
        offset(position),
        held ? 1 : 0};
  }
}

}  // namespace orliq::lidar
