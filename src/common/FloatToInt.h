// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <limits>

namespace orliq::lidar {

/// Truncates toward zero, defined for every input and the same on every processor: a value beyond
/// the integer type gives its nearest limit, NaN gives 0.
template <typename Integer, typename Float>
constexpr Integer SaturatingTruncate(Float value) {
  // The limits of a 32-bit integer are exact in double, so the comparison is exact as well.
  static_assert(sizeof(Integer) <= 4);
  const double wide = static_cast<double>(value);
  if (wide != wide) return 0;
  if (wide <= static_cast<double>(std::numeric_limits<Integer>::min())) {
    return std::numeric_limits<Integer>::min();
  }
  if (wide >= static_cast<double>(std::numeric_limits<Integer>::max())) {
    return std::numeric_limits<Integer>::max();
  }
  return static_cast<Integer>(wide);
}

}  // namespace orliq::lidar
