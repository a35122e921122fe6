// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/kelvane/KelvaneEncoder.h"

#include <cmath>

namespace orliq::sim {
namespace {

constexpr std::uint32_t kIdentifier = 0x55AA5AA5;
constexpr double kRangeUnit = 0.005;  // [m] per distance code
constexpr std::uint32_t kStatus = 0;  // bit 1 would say that the records are not valid

}  // namespace

std::uint16_t KelvaneDistanceCode(double range_m) {
  return static_cast<std::uint16_t>(std::lround(range_m / kRangeUnit));
}

void WriteKelvaneHead(ByteWriter& writer, const KelvaneHead& head) {
  writer.U32(kIdentifier)
      .U16(head.number)
      .Zeros(2)
      .U8(head.two_packet_cycle ? 1 : 0)
      .Zeros(15)
      .I16(head.azimuth_cdeg)
      .U8(kStatus)
      .U8(head.face)
      .Zeros(4);
}

void WriteKelvaneRecord(ByteWriter& writer, const KelvaneRecord& record) {
  writer.U16(record.distance_code).U8(record.intensity).Zeros(1);
}

void WriteKelvaneTail(ByteWriter& writer) {
  writer.Zeros(12);
}

}  // namespace orliq::sim
