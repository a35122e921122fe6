// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/fennix/FennixSensor.h"

#include <algorithm>

#include "simulator/sensors/BeamCalibration.h"
#include "simulator/sensors/PacketFields.h"

namespace orliq::sim {
namespace {

constexpr std::size_t kPacketBytes = 1360;
constexpr std::size_t kRecordsPerPacket = 32;
constexpr std::size_t kPacketsPerFrame = kBeams / kRecordsPerPacket;

/// The order of BeamOrder from its last beam on, which is the marker.
std::vector<std::uint16_t> MarkerFirst() {
  std::vector<std::uint16_t> order = BeamOrder();
  std::rotate(order.begin(), order.end() - 1, order.end());
  return order;
}

}  // namespace

FennixSensor::FennixSensor(const SensorOptions& options)
    : PacedSensor(kTraits, kPacketsPerFrame, options), order_(MarkerFirst()) {}

std::vector<std::uint8_t> FennixSensor::EncodePacket(const SceneView& /*view*/,
                                                     const PacketSlot& slot) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(kPacketBytes);
  ByteWriter writer(bytes, ByteWriter::Order::Little);
  WriteBlocksHead(writer);
  const std::size_t first = slot.index * kRecordsPerPacket;
  for (std::size_t i = 0; i < kRecordsPerPacket; ++i) {
    writer.U16(order_[first + i]).Zeros(23);  // column in the low byte, row in the high byte
  }
  writer.Zeros(kPacketBytes - bytes.size());
  return bytes;
}

}  // namespace orliq::sim
