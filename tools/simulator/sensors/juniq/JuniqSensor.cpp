// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/juniq/JuniqSensor.h"

namespace orliq::sim {
namespace {

constexpr std::size_t kPacketsPerFrame = kBeams / kJuniqBlocksPerPacket;
constexpr Reach kReach = {0.4, 230.0};
constexpr double kRangePerTime = 0.14989623F;   // [m/ns] in single precision, as in the decoder
constexpr std::uint64_t kImuStamps = 0xFFFFFF;  // 24 bits without 0

RangeChain ChainOf(const BeamCalibration& unit, std::uint16_t position) {
  const bool left = position % kBeamColumns < kBeamColumns / 2;
  return {kRangePerTime, unit.offset[position], unit.weight, unit.near_filter[left ? 8 : 7]};
}

JuniqState StateAt(const PacketSlot& slot) {
  const ImuReading imu = LatestImu(slot.scene_time_s);
  return {slot.frame, slot.scene_time_s, slot.time_s, imu.sample,
          static_cast<std::uint32_t>(1 + imu.number % kImuStamps)};
}

}  // namespace

JuniqSensor::JuniqSensor(const SensorOptions& options)
    : ScanningSensor(kPacketsPerFrame, kReach, options),
      calibration_(MakeJuniqCalibration(options.seed, options.radius_filter)),
      order_(BeamOrder()),
      directions_(calibration_.Directions()) {}

JuniqBlock JuniqSensor::BlockAt(const Scene& scene, std::uint16_t position, double scene_time_s) {
  const auto hit = Measure(scene, position, directions_[position], scene_time_s);
  if (!hit) return {position, 0, {}};
  return {position, static_cast<std::uint16_t>(100.0 + 200.0 * hit->reflectivity),
          EncodePulse(ChainOf(calibration_, position), hit->range_m, hit->reflectivity)};
}

std::vector<std::uint8_t> JuniqSensor::EncodePacket(const Scene& scene, const PacketSlot& slot) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(kJuniqPacketBytes);
  ByteWriter writer(bytes, ByteWriter::Order::Little);
  const std::size_t first = slot.index * kJuniqBlocksPerPacket;
  WriteJuniqHead(writer);
  for (std::size_t i = 0; i < kJuniqBlocksPerPacket; ++i) {
    WriteJuniqBlock(writer, BlockAt(scene, order_[first + i], slot.scene_time_s));
  }
  WriteJuniqTail(writer, StateAt(slot));
  return bytes;
}

}  // namespace orliq::sim
