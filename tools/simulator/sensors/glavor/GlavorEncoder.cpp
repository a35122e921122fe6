// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/glavor/GlavorEncoder.h"

#include "simulator/sensors/PacketFields.h"

namespace orliq::sim {
namespace {

constexpr std::uint32_t kStatus = 1;  // the unit is well

}  // namespace

void WriteGlavorBlock(ByteWriter& writer, std::uint16_t position, const Pulse& pulse) {
  writer
      .U16(position)  // column in the low byte, row in the high byte
      .U16(pulse.width_ref)
      .Zeros(5)
      .U24(pulse.tof)
      .U24(pulse.peak)
      .Zeros(3)
      .U24(pulse.width)
      .Zeros(19);
}

void WriteGlavorTail(ByteWriter& writer, std::uint64_t frame, double scene_time_s) {
  writer.Zeros(10);
  WriteFrameWords(writer, frame, scene_time_s);
  writer.Zeros(12).U8(kStatus).Zeros(26);
}

}  // namespace orliq::sim
