// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orliq::lidar {

/// Limits of a decoder, both inclusive; NaN is outside. A value to be copied: a loop that stores
/// floats need not fear for it.
struct Interval {
  float min;
  float max;

  constexpr bool Holds(float value) const { return (min <= value) & (value <= max); }
};

}  // namespace orliq::lidar
