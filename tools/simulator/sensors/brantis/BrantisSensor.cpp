// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/brantis/BrantisSensor.h"

#include "simulator/sensors/PacketFields.h"

namespace orliq::sim {
namespace {

constexpr std::size_t kPacketBytes = 1236;
constexpr std::size_t kPacketsPerFrame = 56;
constexpr std::uint16_t kFirstNumber = 65526;  // ten frames before the number starts anew

}  // namespace

BrantisSensor::BrantisSensor(const SensorOptions& options)
    : PacedSensor(kTraits, kPacketsPerFrame, options) {}

std::vector<std::uint8_t> BrantisSensor::EncodePacket(const SceneView& /*view*/,
                                                      const PacketSlot& slot) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(kPacketBytes);
  ByteWriter writer(bytes, ByteWriter::Order::Little);
  WriteIdentifier(writer);
  writer.Zeros(18).U16(static_cast<std::uint16_t>(kFirstNumber + slot.frame));
  writer.Zeros(kPacketBytes - bytes.size());
  return bytes;
}

}  // namespace orliq::sim
