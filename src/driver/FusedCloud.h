// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>

namespace orliq::lidar {

/// Appends the points of one sensor's frame to a fused cloud, as they are. A point that has room for
/// it names its sensor, by the index from 0. `T` is a cloud.
template <typename T>
void AppendFrame(T& fused, const T& frame, std::size_t sensor);

}  // namespace orliq::lidar
