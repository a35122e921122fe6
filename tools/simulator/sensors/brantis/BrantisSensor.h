// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/sensors/PacedSensor.h"

namespace orliq::sim {

/// The Brantis sensor: 56 packets each frame, which carry the frame's number in 16 bits. Nothing else
/// is known of them, so no beam is cast and the rest is zero. The unit has been running for a while:
/// its numbers start anew with the eleventh frame.
class BrantisSensor final : public PacedSensor {
 public:
  static constexpr SensorTraits kTraits = {};

  explicit BrantisSensor(const SensorOptions& options);

 private:
  std::vector<std::uint8_t> EncodePacket(const SceneView& view, const PacketSlot& slot) override;
};

}  // namespace orliq::sim
