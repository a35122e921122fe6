// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/JuniqCalibration.h"

#include <cmath>

#include "simulator/sensors/Random.h"

namespace orliq::sim {
namespace {

constexpr double kRadian = 3.141592653589793 / 180.0;
constexpr double kColumnStep = 120.0 / kJuniqColumns;   // [deg]
constexpr double kTopElevation = 15.0;                  // [deg]
constexpr double kRowStep = 40.0 / (kJuniqRows - 1.0);  // [deg] the lowest row looks 25 deg down
constexpr double kAngleDeviation = 0.02;                // [deg] much less than a step
constexpr std::uint64_t kCalibrationStream = 1;

/// A number of four decimals, as a calibration bench would note it down.
float Noted(double value) {
  return static_cast<float>(static_cast<double>(std::llround(value * 1e4)) / 1e4);
}

void FillBeam(JuniqCalibration& unit, std::size_t row, std::size_t column, Random& random) {
  // The fan of a real unit is no perfect grid: this one is a little wider at the top than below.
  const double edge = (static_cast<double>(row) - 95.5) / 95.5;
  const double azimuth = (static_cast<double>(column) - 127.5) * kColumnStep * (1 - 0.002 * edge);
  const double elevation = kTopElevation - static_cast<double>(row) * kRowStep;
  unit.azimuth.push_back(Noted(azimuth + random.Uniform(-kAngleDeviation, kAngleDeviation)));
  unit.elevation.push_back(Noted(elevation + random.Uniform(-kAngleDeviation, kAngleDeviation)));
  unit.offset.push_back(Noted(0.03 * edge + random.Uniform(-0.02, 0.02)));
}

void FillFilters(JuniqCalibration& unit, bool radius_filter, Random& random) {
  unit.near_filter = {1500.0F,  // peak asked for at the sensor itself
                      3.0F,     // [m]
                      800.0F,   // peak
                      0.6F,     // [m]
                      radius_filter ? 1.0F : 0.0F,
                      0.5F,  // [m] more than neighbours on a wall differ, at any usual slant
                      2.0F,  // neighbours: a wall seen edge on still has those above and below
                      Noted(random.Uniform(0.005, 0.015)),
                      Noted(random.Uniform(-0.015, -0.005))};
}

}  // namespace

Vec3 JuniqCalibration::Direction(std::size_t position) const {
  const double az = -static_cast<double>(azimuth[position]) * kRadian;
  const double el = static_cast<double>(elevation[position]) * kRadian;
  return {std::cos(el) * std::cos(az), std::cos(el) * std::sin(az), std::sin(el)};
}

std::vector<CheckTable> JuniqCalibration::Tables() const {
  return {{"azimuth", azimuth, kJuniqColumns, false},
          {"elevation", elevation, kJuniqColumns, false},
          {"offset", offset, kJuniqColumns, false},
          {"weight", {weight.begin(), weight.end()}, 1, true},
          {"near_filter", {near_filter.begin(), near_filter.end()}, near_filter.size(), false}};
}

JuniqCalibration MakeJuniqCalibration(std::uint64_t seed, bool radius_filter) {
  Random random(seed, kCalibrationStream);
  JuniqCalibration unit;
  for (std::size_t row = 0; row < kJuniqRows; ++row) {
    for (std::size_t column = 0; column < kJuniqColumns; ++column) {
      FillBeam(unit, row, column, random);
    }
  }
  // The second weight stays positive: it makes a step of the time of flight a little smaller than
  // its quantum of range, which leaves room for the decoder's single precision.
  unit.weight = {Noted(random.Uniform(0.015, 0.025)), Noted(random.Uniform(0.018, 0.022)),
                 Noted(random.Uniform(-0.006, -0.002)), Noted(random.Uniform(0.005, 0.015))};
  FillFilters(unit, radius_filter, random);
  return unit;
}

}  // namespace orliq::sim
