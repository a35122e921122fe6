// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/PacedSensor.h"

namespace orliq::sim {

PacedSensor::PacedSensor(const SensorTraits& traits, std::size_t packets_per_frame,
                         const SensorOptions& options)
    : Sensor(traits),
      packets_per_frame_(packets_per_frame),
      packets_per_second_(options.frame_rate_hz * static_cast<double>(packets_per_frame)),
      start_time_s_(options.start_time_s) {}

std::vector<Packet> PacedSensor::EncodeFrame(const SceneView& view, std::uint64_t frame) {
  StartFrame(frame);
  std::vector<Packet> packets;
  packets.reserve(packets_per_frame_);
  for (std::size_t i = 0; i < packets_per_frame_; ++i) {
    const PacketSlot slot = Slot(frame, i);
    packets.push_back({EncodePacket(view, slot), slot.time_s});
  }
  return packets;
}

PacketSlot PacedSensor::Slot(std::uint64_t frame, std::size_t index) const {
  const std::uint64_t packet = frame * packets_per_frame_ + index;
  const double elapsed = static_cast<double>(packet) / packets_per_second_;
  return {frame, index, elapsed, start_time_s_ + elapsed};
}

}  // namespace orliq::sim
