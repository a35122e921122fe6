// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/sensors/BeamMeter.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::sim {

/// A packet's place in the scan, and its times.
struct PacketSlot {
  std::uint64_t frame = 0;
  std::size_t index = 0;      ///< within the frame
  double scene_time_s = 0.0;  ///< since the scene started, with frame 0
  double time_s = 0.0;        ///< since 1970-01-01 UTC
};

/// What every synthetic sensor does alike: frames of so many packets, which leave at an even pace,
/// and beams that measure the scene. A model adds how a packet is written.
class ScanningSensor : public Sensor {
 public:
  std::size_t PacketsPerFrame() const final { return packets_per_frame_; }
  std::vector<Packet> EncodeFrame(const Scene& scene, std::uint64_t frame) final;

  /// Every beam that was measured in the last frame, in the order sent.
  const std::vector<BeamTruth>& Truth() const { return meter_.Truth(); }

 protected:
  ScanningSensor(std::size_t packets_per_frame, const Reach& reach, const SensorOptions& options);

  /// The payload of one packet. Called for each packet of a frame in order.
  virtual std::vector<std::uint8_t> EncodePacket(const Scene& scene, const PacketSlot& slot) = 0;

  /// Measures the scene along `direction` (of unit length); nothing when nothing came back.
  std::optional<Hit> Measure(const Scene& scene, std::uint32_t position, const Vec3& direction,
                             double scene_time_s) {
    return meter_.Measure(position, scene.Cast(direction, scene_time_s));
  }

 private:
  PacketSlot Slot(std::uint64_t frame, std::size_t index) const;

  std::size_t packets_per_frame_;
  double packets_per_second_;
  double start_time_s_;
  BeamMeter meter_;
};

}  // namespace orliq::sim
