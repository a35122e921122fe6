// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/sensors/Sensor.h"

namespace orliq::sim {

/// A packet's place in the scan, and its times.
struct PacketSlot {
  std::uint64_t frame = 0;
  std::size_t index = 0;      ///< within the frame
  double scene_time_s = 0.0;  ///< since the scene started, with frame 0
  double time_s = 0.0;        ///< since 1970-01-01 UTC
};

/// What every synthetic sensor does alike: frames of so many packets, which leave at an even pace. A
/// model adds how a packet is written.
class PacedSensor : public Sensor {
 public:
  std::size_t PacketsPerFrame() const final { return packets_per_frame_; }
  std::vector<Packet> EncodeFrame(const SceneView& view, std::uint64_t frame) final;

 protected:
  PacedSensor(const SensorTraits& traits, std::size_t packets_per_frame,
              const SensorOptions& options);

  /// Called before the first packet of each frame.
  virtual void StartFrame(std::uint64_t /*frame*/) {}

  /// The payload of one packet. Called for each packet of a frame in order.
  virtual std::vector<std::uint8_t> EncodePacket(const SceneView& view, const PacketSlot& slot) = 0;

 private:
  PacketSlot Slot(std::uint64_t frame, std::size_t index) const;

  std::size_t packets_per_frame_;
  double packets_per_second_;
  double start_time_s_;
};

}  // namespace orliq::sim
