// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/sensors/ScanningSensor.h"
#include "simulator/sensors/corvik/CorvikEncoder.h"

namespace orliq::sim {

constexpr std::size_t kCorvikLines = 56;  // line 0 looks up the most

/// The Corvik sensor: 56 packets each frame, one for each scan line from top to bottom, of 192
/// samples from left to right. A beam's position is the sample's number + 192 * line.
class CorvikSensor final : public ScanningSensor {
 public:
  static constexpr SensorTraits kTraits = {/*beams=*/true, /*imu=*/true};

  explicit CorvikSensor(const SensorOptions& options);

 private:
  std::vector<std::uint8_t> EncodePacket(const SceneView& view, const PacketSlot& slot) override;
  CorvikSample SampleAt(const SceneView& view, std::size_t position, double scene_time_s);

  std::array<Vec3, kCorvikLines * kCorvikSamplesPerPacket> directions_;  // by position
};

}  // namespace orliq::sim
