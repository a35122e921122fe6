// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "multi_driver/DriverParam.h"

// The image of its calibration that a sensor uploads: tables one after the other, each behind a
// marker of four equal letters, "AAAA" to "EEEE", that stands at a multiple of four bytes.
namespace orliq::lidar {

/// A marker found in an image.
struct IndexParam {
  int position;      ///< [bytes] from the start of the image to the marker
  std::string name;  ///< its text
};

/// What stands between one marker and the next.
struct FlagCheckParamBuffer {
  std::vector<std::uint8_t> bytes;
};

/// The markers in the image of a model; none for a model that uploads nothing.
std::vector<std::string> GetFlags(const LidarType& type);

/// The first place of each marker among the first `received_size` bytes, by position. A marker that
/// is missing, or stands at no multiple of four, is left out.
std::vector<IndexParam> FindFlags(const std::vector<std::uint8_t>& image,
                                  std::int32_t received_size,
                                  const std::vector<std::string>& flags);

/// The pieces of the image by their markers. The last one ends at `total_size`, or where the image
/// does when that is earlier.
std::map<std::string, FlagCheckParamBuffer> CutImage(const std::vector<std::uint8_t>& image,
                                                     const std::vector<IndexParam>& markers,
                                                     std::int32_t total_size);

}  // namespace orliq::lidar
