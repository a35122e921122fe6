// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

#include "orliq/clouds/CloudTaker.h"

namespace orliq::cli {

/// Calls `take(sensor, cloud)` with the points of each sensor that has any, where they lie in the cloud of
/// all, which stays for as long as one of them does.
template <typename Take>
void ForEachPart(const TakenCloud& cloud, const Take& take) {
  std::size_t first = 0;
  for (std::size_t sensor = 0; sensor < cloud.parts.size(); ++sensor) {
    const CloudPart& part = cloud.parts[sensor];
    if (part.points == 0) continue;  // of a model without points, or of nothing that it measured
    CloudView view = cloud.view;
    view.records += first * view.record_bytes;
    view.points = part.points;
    view.timestamp = part.timestamp;
    take(sensor, TakenCloud{cloud.owner, view, {part}});
    first += part.points;
  }
}

}  // namespace orliq::cli
