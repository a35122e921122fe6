// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "multi_driver/DriverParam.h"
#include "multi_driver/PointCloud.h"
#include "multi_driver/SensorModels.h"
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

/// Where a sensor stands in its cloud [m].
struct Origin {
  float x = 0.0F;
  float y = 0.0F;
  float z = 0.0F;
};

/// Where the extrinsics put the sensor, if the driver moves the points of its model.
inline Origin OriginOf(const lidar::DriverParam& param) {
  const lidar::TransformParam& pose = param.decoder_param.transform_param;
  const lidar::SensorModel* const model = lidar::FindSensorModel(param.lidar_type);
  const bool moved = pose.enable != 0 && model != nullptr && model->transforms_points;
  return moved ? Origin{pose.x, pose.y, pose.z} : Origin{};
}

/// Whether a point is a return inside the limits. The others are set to zero by the decoder; what measured
/// a range of zero, as a Corvik does without a return, lies where the sensor stands.
inline bool IsReturn(float x, float y, float z, const Origin& origin) {
  const bool at_zero = x == 0.0F && y == 0.0F && z == 0.0F;
  const bool at_sensor = x == origin.x && y == origin.y && z == origin.z;
  return !at_zero && !at_sensor;
}

/// Points of a range with a return inside the limits.
template <typename Iterator>
std::uint64_t CountNonZero(Iterator begin, Iterator end, const Origin& origin) {
  std::uint64_t count = 0;
  for (; begin != end; ++begin) {
    if (IsReturn(begin->x, begin->y, begin->z, origin)) ++count;
  }
  return count;
}

template <typename T>
std::uint64_t CountNonZero(const PointCloud<T>& cloud, const Origin& origin) {
  return CountNonZero(cloud.points.begin(), cloud.points.end(), origin);
}

}  // namespace orliq::cli
