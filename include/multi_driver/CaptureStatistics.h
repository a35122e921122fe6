// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>

#include "multi_driver/Export.h"

namespace orliq::lidar {

/// Records that were read from a capture file, each in exactly one of the counts from `packets` to
/// `empty`; all but `packets` are foreign and passed over. A record counts as often as it is read.
struct ORLIQ_API RecordCounts {
  std::uint64_t records = 0;       ///< the sum of the seven below
  std::uint64_t packets = 0;       ///< UDP datagrams to the port, of the chosen sender
  std::uint64_t not_udp = 0;       ///< other protocols, and all behind a VLAN tag
  std::uint64_t other_port = 0;    ///< UDP to another port
  std::uint64_t fragments = 0;     ///< further pieces of a datagram, which do not tell its port
  std::uint64_t too_short = 0;     ///< shorter than their headers
  std::uint64_t other_source = 0;  ///< of another sender than that of SetSourceAddress
  std::uint64_t empty = 0;         ///< without a byte of payload
  std::uint64_t cut = 0;           ///< of `packets`, cut by the capture's snap length
  std::uint64_t too_long = 0;      ///< of `packets`, longer than a buffer, cut at 1546 bytes
  std::uint64_t damaged = 0;       ///< times that a damaged record, which is in no other count, was
                                   ///< the end of the file
};

/// How a capture file was read. Start reads each record once, in search of frames; a requested frame
/// reads its own records afterwards, with the foreign ones between them. The packet that ends a frame
/// and begins the next is of both frames, so it is read and decoded for each.
struct ORLIQ_API CaptureStatistics {
  RecordCounts indexed;  ///< by Start: what the capture holds
  RecordCounts played;   ///< for requested frames; its `packets` are those of `received`
};

}  // namespace orliq::lidar
