// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/juniq/JuniqEncoder.h"

#include "simulator/sensors/PacketFields.h"

namespace orliq::sim {
namespace {

constexpr std::uint32_t kStatus = 1;  // the unit is well

constexpr double kPi = 3.141592653589793;
constexpr double kGyroUnit = 0.000173611 * kPi;  // [rad/s]
constexpr double kAccelUnit = 0.004788403;       // [m/s^2]

}  // namespace

void WriteJuniqBlock(ByteWriter& writer, const JuniqBlock& block) {
  writer
      .U16(block.position)  // column in the low byte, row in the high byte
      .U16(block.pulse.width_ref)
      .U16(block.aux)
      .U24(block.pulse.tof)
      .U24(block.pulse.peak)
      .U24(block.pulse.width)
      .Zeros(1);
}

void WriteJuniqTail(ByteWriter& writer, const JuniqState& state) {
  writer.Zeros(10);
  WriteFrameWords(writer, state.frame, state.scene_time_s);
  WriteImuBlock(writer, state.imu, kGyroUnit, kAccelUnit);
  writer.U8(kStatus);
  WriteUtcBlock(writer, state.time_s);
  writer.Zeros(4).U24(state.imu_stamp).Zeros(9);
}

}  // namespace orliq::sim
