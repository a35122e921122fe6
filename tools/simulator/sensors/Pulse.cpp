// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/Pulse.h"

#include <cmath>

namespace orliq::sim {
namespace {

// Raw range of v counts: (v * 1.645 - 2.09) * range per time. The decoder holds these numbers in
// single precision, so their inverse does too.
constexpr double kCountTime = 1.645F;    // [ns] per count
constexpr double kTriggerDelay = 2.09F;  // [ns]
constexpr double kFractions = 64.0;      // of a count

/// The decoder's chain from the time of flight to the range, walked backwards.
std::uint32_t TimeOfFlight(const RangeChain& chain, double ratio, double range_m) {
  const auto& w = chain.weight;
  const double corrected = range_m + chain.late_offset_m;
  const double linear = corrected + w[2] * ratio * ratio + w[0] * ratio + w[3];
  const double raw = linear / (1.0 - w[1]) + chain.raw_offset_m;
  const double counts = (raw / chain.range_per_time + kTriggerDelay) / kCountTime;
  return static_cast<std::uint32_t>(std::lround(counts * kFractions));
}

}  // namespace

Pulse EncodePulse(const RangeChain& chain, double range_m, double reflectivity) {
  Pulse pulse;
  // Light thins out with the square of the range and never falls below what the near filter asks.
  pulse.peak = static_cast<std::uint32_t>(4000.0 + 4e6 * reflectivity / (1.0 + range_m * range_m));
  const double length = 0.4 + reflectivity * 30.0 / (30.0 + range_m);
  pulse.width = static_cast<std::uint32_t>(length * pulse.width_ref);
  const double ratio = static_cast<float>(pulse.width) / static_cast<float>(pulse.width_ref);
  pulse.tof = TimeOfFlight(chain, ratio, range_m);
  return pulse;
}

}  // namespace orliq::sim
