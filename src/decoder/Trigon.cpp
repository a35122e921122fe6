// SPDX-License-Identifier: Apache-2.0
#include "decoder/Trigon.h"

#include <cmath>
#include <vector>

namespace orliq::lidar {

struct Trigon::Tables {
  Tables() : sine(kEntries), cosine(kEntries) {
    sine[0] = -1.2246469e-16F;
    cosine[0] = -1.0F;
    for (int i = 1; i < kEntries; ++i) {
      // The order of the operations decides the last bit of some entries.
      const double radians = (i + kMinAngle) * 0.01 * 3.141592653589793 / 180.0;
      sine[static_cast<std::size_t>(i)] = static_cast<float>(std::sin(radians));
      cosine[static_cast<std::size_t>(i)] = static_cast<float>(std::cos(radians));
    }
  }
  std::vector<float> sine;
  std::vector<float> cosine;
};

/// Never destroyed: a driver may outlive the static objects of its program.
const Trigon::Tables& Trigon::SharedTables() {
  static const Tables& tables = *new Tables;
  return tables;
}

Trigon::Trigon()
    : sine_(SharedTables().sine.data() - kMinAngle),
      cosine_(SharedTables().cosine.data() - kMinAngle) {}

}  // namespace orliq::lidar
