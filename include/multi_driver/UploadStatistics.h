// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "multi_driver/Export.h"

namespace orliq::lidar {

/// Where datagrams come from.
struct ORLIQ_API PacketSender {
  std::uint32_t address = 0;  ///< IPv4, 192.168.1.200 as 0xC0A801C8; 0: nobody
  std::uint16_t port = 0;     ///< UDP, host byte order
};

/// How far the sensor's own calibration has come.
enum class UploadState : std::uint32_t {
  None = 0,       ///< it is not asked for
  Asking = 1,     ///< the sensor is unknown yet, or has not answered
  Receiving = 2,  ///< some of it is here
  Received = 3,   ///< all of it is here
  InUse = 4,      ///< and handed to the decoder
};

/// The upload of its calibration by a sensor, counted from InitDriver on. Every datagram with a
/// byte that was taken from the channel is in exactly one of the five counts from `replies` on.
struct ORLIQ_API UploadStatistics {
  /// How far it is.
  UploadState state = UploadState::None;
  PacketSender sensor;               ///< whom it is asked of; nobody while that is unknown
  std::uint64_t total_bytes = 0;     ///< of the tables, as the sensor tells; 0: not yet
  std::uint64_t received_bytes = 0;  ///< of them
  std::uint64_t requests = 0;        ///< sent, with `repeated`
  std::uint64_t repeated = 0;        ///< requests sent again, as no reply came
  std::uint64_t send_errors = 0;     ///< requests that the system would not send
  std::uint64_t replies = 0;         ///< taken
  std::uint64_t wrong_marker = 0;    ///< begin with other bytes than a reply does
  std::uint64_t unusable = 0;        ///< too short, or of another size than can be
  std::uint64_t discarded = 0;       ///< came a second time, too late, or unasked
  std::uint64_t other_source = 0;    ///< of another sender; only with SetStrictUpload
  double duration_s = -1.0;  ///< [s] from the first request to the last reply; negative before
  std::uint64_t decoded_before_use = 0;  ///< packets decoded without the tables; 0 before InUse
};

}  // namespace orliq::lidar
