// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/sensors/PacedSensor.h"

namespace orliq::sim {

/// The Hestra sensor: 56 packets each frame. Nothing but their identifier is known of them, so no
/// beam is cast and the rest is zero, with no sign of where a frame begins.
class HestraSensor final : public PacedSensor {
 public:
  static constexpr SensorTraits kTraits = {};

  explicit HestraSensor(const SensorOptions& options);

 private:
  std::vector<std::uint8_t> EncodePacket(const SceneView& view, const PacketSlot& slot) override;
};

}  // namespace orliq::sim
