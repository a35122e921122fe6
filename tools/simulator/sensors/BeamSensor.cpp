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

/// What stands still is worked out once: half the time that a frame takes.
Hit BeamSensor::Meet(const SceneView& view, std::uint16_t position, double time_s) {
  const std::uint64_t number = view.StillNumber();
  if (number == 0) return view.Cast(directions_[position], time_s);
  if (number != still_number_) {
    still_number_ = number;
    met_.resize(directions_.size());
    known_.assign(directions_.size(), false);
  }
  if (!known_[position]) met_[position] = view.Cast(directions_[position], time_s);
  known_[position] = true;
  return met_[position];
}

std::vector<std::uint8_t> BeamSensor::EncodePacket(const SceneView& view, const PacketSlot& slot) {
  std::vector<std::uint8_t> bytes;
  bytes.reserve(layout_.packet_bytes);
  ByteWriter writer(bytes, ByteWriter::Order::Little);
  WriteBlocksHead(writer);
  const std::size_t first = slot.index * layout_.blocks;
  for (std::size_t i = 0; i < layout_.blocks; ++i) {
    const std::uint16_t position = order_[first + i];
    const Hit truth = Meet(view, position, slot.scene_time_s);
    WriteBlock(writer, position, Measure(position, truth));
  }
  WriteTail(writer, slot);
  return bytes;
}

}  // namespace orliq::sim
