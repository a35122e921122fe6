// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/BeamSensor.h"

#include <utility>

#include "simulator/sensors/PacketFields.h"

namespace orliq::sim {
namespace {

constexpr Reach kReach = {0.4, 230.0};

}  // namespace

BeamSensor::BeamSensor(const SensorTraits& traits, const BlockLayout& layout,
                       BeamCalibration calibration, const SensorOptions& options)
    : ScanningSensor(traits, kBeams / layout.blocks, kReach, options),
      layout_(layout),
      calibration_(std::move(calibration)),
      order_(BeamOrder()),
      directions_(calibration_.Directions()) {}

std::vector<std::uint8_t> BeamSensor::EncodePacket(const SceneView& view, const PacketSlot& slot) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(layout_.packet_bytes);
  ByteWriter writer(bytes, ByteWriter::Order::Little);
  WriteBlocksHead(writer);
  const std::size_t first = slot.index * layout_.blocks;
  for (std::size_t i = 0; i < layout_.blocks; ++i) {
    const std::uint16_t position = order_[first + i];
    const Hit truth = view.Cast(directions_[position], slot.scene_time_s);
    WriteBlock(writer, position, Measure(position, truth));
  }
  WriteTail(writer, slot);
  return bytes;
}

}  // namespace orliq::sim
