// SPDX-License-Identifier: Apache-2.0
#pragma once

/// @file
/// The clouds.

#include <cstdint>
#include <string>
#include <vector>

#include "multi_driver/Export.h"
#include "multi_driver/PointTypes.h"

/// Header of a cloud. It belongs to the application: the library neither reads nor writes it.
struct ORLIQ_API PointCloudHeader {
  std::uint64_t sequence = 0;  ///< number of the frame
  std::string frame_id;        ///< name of the coordinate frame
};

// No virtual destructor, see below; an application that asks for one everywhere is not to hear of it.
#pragma GCC diagnostic push
#pragma GCC diagnostic ignored "-Wnon-virtual-dtor"

/// One frame of points.
///
/// The application makes clouds (empty, in its provider callback), the library fills one and hands
/// it back to the consumer callback. From then on the library keeps no reference to it.
///
/// Threads: a cloud has no lock. Until it is handed over, only the decoding thread touches it.
/// Ownership: always held by `std::shared_ptr`, which also makes deleting a derived cloud safe.
/// Derive from it and override PushPoint to see or change points as they are decoded, and hand the
/// derived cloud out as `std::shared_ptr<PointCloud<T>>`. A PushPoint that drops or adds points
/// switches the radius filter off: a frame of another size than what was decoded passes unfiltered,
/// with the line "Error: mask size mismatch" on standard error each time.
template <typename T>
struct ORLIQ_API PointCloud {
  using PointType = T;  ///< the record of its points

  /// Appends one point. `points` grows by doubling, from one element on.
  virtual void PushPoint(const T& point) { points.push_back(point); }

  PointCloudHeader header;  ///< the application's own
  /// [s] since 1970-01-01 UTC, time of the frame, written when it closes. 0.0 of a model without time, and
  /// of a frame that the end of a capture closes.
  double timestamp = 0.0;
  std::uint32_t reserved = 0;    ///< never written by the library
  std::uint16_t frame_word = 0;  ///< frame word of the sensor (Juniq, Glavor)
  double temperature_a = 0.0;    ///< [deg C] first sensor temperature (Juniq, Glavor)
  double temperature_b = 0.0;    ///< [deg C] second sensor temperature (Juniq, Glavor)
  std::uint8_t status = 0;       ///< status byte of the sensor (Juniq, Glavor)
  std::vector<T> points;         ///< the points, in the order of measurement
};

#pragma GCC diagnostic pop

/// The four cloud types that the library is built for, written once: `X(type)` for each of them.
#define ORLIQ_FOR_EACH_CLOUD(X) \
  X(PointCloud<Point>)          \
  X(PointCloud<PointTime>)      \
  X(PointCloud<PointSource>)    \
  X(PointCloud<JuniqPoint>)

namespace orliq::lidar {

/// True for those four.
template <typename T>
inline constexpr bool kIsCloud = false;
#define ORLIQ_IS_CLOUD(CLOUD) \
  template <>                 \
  inline constexpr bool kIsCloud<CLOUD> = true;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_IS_CLOUD)
#undef ORLIQ_IS_CLOUD

}  // namespace orliq::lidar
