// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/juniq/JuniqSensor.h"

#include "simulator/sensors/juniq/JuniqCalibration.h"
#include "simulator/sensors/juniq/JuniqEncoder.h"

namespace orliq::sim {
namespace {

constexpr double kRangePerTime = 0.14989623F;   // [m/ns] in single precision, as in the decoder
constexpr std::uint64_t kImuStamps = 0xFFFFFF;  // 24 bits without 0

RangeChain ChainOf(const BeamCalibration& unit, std::uint16_t position) {
  const bool left = position % kBeamColumns < kBeamColumns / 2;
  return {kRangePerTime, unit.offset[position], unit.weight, unit.near_filter[left ? 8 : 7]};
}

}  // namespace

JuniqSensor::JuniqSensor(const SensorOptions& options)
    : BeamSensor(kTraits, {kJuniqPacketBytes, kJuniqBlocksPerPacket},
                 MakeJuniqCalibration(options.seed, options.radius_filter), options) {}

void JuniqSensor::WriteBlock(ByteWriter& writer, std::uint16_t position,
                             const std::optional<Hit>& hit) {
  JuniqBlock block;
  block.position = position;
  if (hit) {
    block.aux = static_cast<std::uint16_t>(100.0 + 200.0 * hit->reflectivity);
    block.pulse = EncodePulse(ChainOf(Calibration(), position), hit->range_m, hit->reflectivity);
  }
  WriteJuniqBlock(writer, block);
}

void JuniqSensor::WriteTail(ByteWriter& writer, const PacketSlot& slot) {
  const ImuReading imu = LatestImu(slot.scene_time_s);
  WriteJuniqTail(writer, {slot.frame, slot.scene_time_s, slot.time_s, imu.sample,
                          static_cast<std::uint32_t>(1 + imu.number % kImuStamps)});
}

}  // namespace orliq::sim
