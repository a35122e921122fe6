// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "multi_driver/UploadStatistics.h"

namespace orliq::cli {

/// A packet of a live sensor on its way into a file.
struct KeptPacket {
  std::size_t sensor = 0;        ///< index
  std::uint64_t arrival_ns = 0;  ///< since 1970 UTC; 0: unknown
  lidar::PacketSender sender;
  std::string payload;
};

}  // namespace orliq::cli
