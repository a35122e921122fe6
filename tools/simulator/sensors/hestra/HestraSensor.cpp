// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/hestra/HestraSensor.h"

#include "simulator/sensors/PacketFields.h"

namespace orliq::sim {
namespace {

constexpr std::size_t kPacketBytes = 1236;
constexpr std::size_t kPacketsPerFrame = 56;

}  // namespace

HestraSensor::HestraSensor(const SensorOptions& options)
    : PacedSensor(kTraits, kPacketsPerFrame, options) {}

std::vector<std::uint8_t> HestraSensor::EncodePacket(const SceneView& /*view*/,
                                                     const PacketSlot& /*slot*/) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(kPacketBytes);
  ByteWriter writer(bytes, ByteWriter::Order::Little);
  WriteIdentifier(writer);
  writer.Zeros(kPacketBytes - bytes.size());
  return bytes;
}

}  // namespace orliq::sim
