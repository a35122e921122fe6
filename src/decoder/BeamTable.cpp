// SPDX-License-Identifier: Apache-2.0
#include "decoder/BeamTable.h"

#include "common/FloatToInt.h"

namespace orliq::lidar {

int TableAngle(float angle_deg, double scale) {
  // Double on purpose: in float, thousands of hundredths would truncate to a neighbour.
  return SaturatingTruncate<int>(angle_deg * scale);
}

}  // namespace orliq::lidar
