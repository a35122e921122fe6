// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

#include "simulator/sensors/ByteWriter.h"

namespace orliq::sim {

constexpr std::size_t kKelvanePacketBytes = 1084;
constexpr std::size_t kKelvaneRecordsPerPacket = 260;

/// What a packet says beside its records. This sensor's words are big-endian.
struct KelvaneHead {
  std::uint16_t number = 1;       ///< of the packet in its frame, from 1
  bool two_packet_cycle = true;   ///< else an azimuth takes four packets
  std::int16_t azimuth_cdeg = 0;  ///< of all records, positive to the left
  std::uint8_t face = 1;          ///< of the mirror, 1 to 4
};

/// One record on the wire. Default: nothing came back.
struct KelvaneRecord {
  std::uint16_t distance_code = 0;
  std::uint8_t intensity = 0;
};

/// The code whose range is `range_m` (0 to kKelvaneFarthest) to half a quantum of 5 mm.
std::uint16_t KelvaneDistanceCode(double range_m);
constexpr double kKelvaneFarthest = 0.005 * 0xFFFF;  // [m] what the code can tell

/// Appends the head of a packet. kKelvaneRecordsPerPacket records and one tail follow it.
void WriteKelvaneHead(ByteWriter& writer, const KelvaneHead& head);
void WriteKelvaneRecord(ByteWriter& writer, const KelvaneRecord& record);
void WriteKelvaneTail(ByteWriter& writer);

}  // namespace orliq::sim
