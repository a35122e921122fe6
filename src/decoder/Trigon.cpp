// SPDX-License-Identifier: Apache-2.0
#include "decoder/Trigon.h"

#include <cmath>

namespace orliq::lidar {

Trigon::Trigon()
    : sine_table_(kEntries),
      cosine_table_(kEntries),
      sine_(sine_table_.data() - kMinAngle),
      cosine_(cosine_table_.data() - kMinAngle) {
  sine_table_[0] = -1.2246469e-16F;
  cosine_table_[0] = -1.0F;
  for (int i = 1; i < kEntries; ++i) {
    // The order of the operations decides the last bit of some entries.
    const double radians = (i + kMinAngle) * 0.01 * 3.141592653589793 / 180.0;
    sine_table_[static_cast<std::size_t>(i)] = static_cast<float>(std::sin(radians));
    cosine_table_[static_cast<std::size_t>(i)] = static_cast<float>(std::cos(radians));
  }
}

}  // namespace orliq::lidar
