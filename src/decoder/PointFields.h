// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "multi_driver/PointTypes.h"

// Sets the fields that only some point records have. Decoders offer every value; a record without
// the field ignores it.
namespace orliq::lidar {

template <typename P>
void SetTimestamp(P& /*point*/, double /*timestamp*/) {}
inline void SetTimestamp(PointTime& point, double timestamp) {
  point.timestamp = timestamp;
}
inline void SetTimestamp(PointSource& point, double timestamp) {
  point.timestamp = timestamp;
}

/// `distance` [m], truncated toward zero.
template <typename P>
void SetDistance(P& /*point*/, std::int32_t /*distance*/) {}
inline void SetDistance(PointSource& point, std::int32_t distance) {
  point.distance = distance;
}

/// The raw measurement of a Juniq return, straight from its packet block.
template <typename P, typename Block>
void SetJuniqMeasurement(P& /*point*/, const Block& /*block*/) {}
template <typename Block>
void SetJuniqMeasurement(JuniqPoint& point, const Block& block) {
  point.row = block.row;
  point.column = block.column;
  point.aux = block.aux;
  point.width_ref = block.width_ref;
  point.peak = block.peak;
  point.tof = block.tof;
  point.width = block.width;
}

}  // namespace orliq::lidar
