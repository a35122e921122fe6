// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "multi_driver/Export.h"
#include "multi_driver/UploadStatistics.h"

namespace orliq::lidar {

/// A packet of a live sensor as it came from the network: the payload of one UDP datagram. It belongs to
/// the driver, and is there only while the callback runs that it is handed to.
struct ORLIQ_API RawPacket {
  const std::uint8_t* data = nullptr;  ///< first byte of the payload
  std::size_t size = 0;                ///< [bytes] of it, of a longer datagram the first 1546
  std::uint64_t arrival_ns = 0;        ///< since 1970 UTC, by the system; 0: it did not tell
  PacketSender sender;                 ///< who sent it
};

}  // namespace orliq::lidar
