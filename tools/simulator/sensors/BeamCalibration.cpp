// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/BeamCalibration.h"

#include <cmath>

namespace orliq::sim {
namespace {

constexpr double kAngleDeviation = 0.02;  // [deg] much less than a step

void AddBeam(BeamCalibration& unit, const BeamFan& fan, std::size_t row, std::size_t column,
             Random& random) {
  // The fan of a real unit is no perfect grid: this one is a little wider at the top than below.
  const double edge = (static_cast<double>(row) - 95.5) / 95.5;
  const double azimuth =
      (static_cast<double>(column) - 127.5) * fan.column_step * (1 - 0.002 * edge);
  const double elevation = fan.top_elevation - static_cast<double>(row) * fan.row_step;
  unit.azimuth.push_back(Noted(azimuth + random.Uniform(-kAngleDeviation, kAngleDeviation)));
  unit.elevation.push_back(Noted(elevation + random.Uniform(-kAngleDeviation, kAngleDeviation)));
  if (fan.range_offsets) unit.offset.push_back(Noted(0.03 * edge + random.Uniform(-0.02, 0.02)));
}

}  // namespace

float Noted(double value) {
  return static_cast<float>(static_cast<double>(std::llround(value * 1e4)) / 1e4);
}

std::vector<Vec3> BeamCalibration::Directions() const {
  std::vector<Vec3> directions;
  directions.reserve(azimuth.size());
  for (std::size_t i = 0; i < azimuth.size(); ++i) {
    directions.push_back(DirectionOf(-static_cast<double>(azimuth[i]), elevation[i]));
  }
  return directions;
}

std::vector<CheckTable> BeamCalibration::Tables() const {
  std::vector<CheckTable> tables = {
      {"azimuth", azimuth, kBeamColumns, false},
      {"elevation", elevation, kBeamColumns, false},
      {"weight", {weight.begin(), weight.end()}, 1, true},
      {"near_filter", {near_filter.begin(), near_filter.end()}, near_filter.size(), false}};
  if (!offset.empty()) tables.push_back({"offset", offset, kBeamColumns, false});
  return tables;
}

BeamCalibration MakeBeamCalibration(const BeamFan& fan, Random& random) {
  BeamCalibration unit;
  for (std::size_t row = 0; row < kBeamRows; ++row) {
    for (std::size_t column = 0; column < kBeamColumns; ++column) {
      AddBeam(unit, fan, row, column, random);
    }
  }
  // The second weight stays positive: it makes a step of the time of flight a little smaller than
  // its quantum of range, which leaves room for the decoder's single precision.
  unit.weight = {Noted(random.Uniform(0.015, 0.025)), Noted(random.Uniform(0.018, 0.022)),
                 Noted(random.Uniform(-0.006, -0.002)), Noted(random.Uniform(0.005, 0.015))};
  unit.near_filter = {1500.0F,  // peak asked for at the sensor itself
                      3.0F,     // [m]
                      800.0F,   // peak
                      0.6F};    // [m]
  return unit;
}

std::vector<std::uint16_t> BeamOrder() {
  std::vector<std::uint16_t> order;
  order.reserve(kBeams);
  for (std::size_t i = 0; i < kBeamColumns; ++i) {
    const std::size_t column = (i + kBeamColumns / 2) % kBeamColumns;
    for (std::size_t row = 0; row < kBeamRows; ++row) {
      order.push_back(static_cast<std::uint16_t>(column + kBeamColumns * row));
    }
  }
  return order;
}

}  // namespace orliq::sim
