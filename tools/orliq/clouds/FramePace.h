// SPDX-License-Identifier: Apache-2.0
#pragma once

namespace orliq::cli {

/// How long after the frame of the time `earlier` that of `later` is shown at its own pace [s]. Without
/// times, or where they jump, ten frames a second.
inline double PauseBetween(double earlier, double later) {
  constexpr double kUsual = 0.1;
  constexpr double kLongest = 2.0;
  const double pause = later - earlier;
  const bool told = earlier != 0.0 && later != 0.0 && pause > 0.0 && pause < kLongest;
  return told ? pause : kUsual;
}

}  // namespace orliq::cli
