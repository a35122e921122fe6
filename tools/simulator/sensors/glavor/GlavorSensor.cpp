// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/glavor/GlavorSensor.h"

#include <algorithm>

#include "simulator/sensors/glavor/GlavorCalibration.h"
#include "simulator/sensors/glavor/GlavorEncoder.h"

namespace orliq::sim {
namespace {

constexpr double kRangePerTime = 0.15F;  // [m/ns] in single precision, as in the decoder

// The detector saturates where the intensity, which is the low 16 bits of the peak, would start anew.
constexpr std::uint32_t kStrongest = 0xFFFF;

}  // namespace

GlavorSensor::GlavorSensor(const SensorOptions& options)
    : BeamSensor(kTraits, {kGlavorPacketBytes, kGlavorBlocksPerPacket},
                 MakeGlavorCalibration(options.seed), options) {}

void GlavorSensor::WriteBlock(ByteWriter& writer, std::uint16_t position,
                              const std::optional<Hit>& hit) {
  Pulse pulse;
  if (hit) {
    const RangeChain chain = {kRangePerTime, 0.0, Calibration().weight, 0.0};
    pulse = EncodePulse(chain, hit->range_m, hit->reflectivity);
    pulse.peak = std::min(pulse.peak, kStrongest);
  }
  WriteGlavorBlock(writer, position, pulse);
}

void GlavorSensor::WriteTail(ByteWriter& writer, const PacketSlot& slot) {
  WriteGlavorTail(writer, slot.frame, slot.scene_time_s);
}

}  // namespace orliq::sim
