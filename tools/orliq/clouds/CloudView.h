// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "multi_driver/PointCloud.h"
#include "orliq/clouds/PointFields.h"

namespace orliq::cli {

/// A cloud of any point type as plain records, for the output formats. It refers to the cloud and
/// must not outlive it.
struct CloudView {
  const unsigned char* records;  ///< `points` records of `record_bytes`, without gaps
  std::size_t points;
  std::size_t record_bytes;
  const PointField* fields;
  std::size_t field_count;
  double timestamp;  ///< [s] UTC, 0 when the capture ends inside the frame
};

template <typename T>
CloudView View(const PointCloud<T>& cloud) {
  return {reinterpret_cast<const unsigned char*>(cloud.points.data()),
          cloud.points.size(),
          sizeof(T),
          kPointFields<T>.data(),
          kPointFields<T>.size(),
          cloud.timestamp};
}

/// Where the points without a return lie [m]: at the sensor's origin.
struct Origin {
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
};

/// Points of a range that are not exactly at the origin: those with a return inside the limits.
template <typename Iterator>
std::uint64_t CountNonZero(Iterator begin, Iterator end, const Origin& origin = {}) {
  std::uint64_t count = 0;
  for (; begin != end; ++begin) {
    const float x = begin->x;
    const float y = begin->y;
    const float z = begin->z;
    if (x != origin.x || y != origin.y || z != origin.z) ++count;
  }
  return count;
}

template <typename T>
std::uint64_t CountNonZero(const PointCloud<T>& cloud) {
  return CountNonZero(cloud.points.begin(), cloud.points.end());
}

}  // namespace orliq::cli
