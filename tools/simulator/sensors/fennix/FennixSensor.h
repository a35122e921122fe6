// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/sensors/PacedSensor.h"

namespace orliq::sim {

/// The Fennix sensor: 192 rings of 256 columns, 1536 packets of 32 records each frame. Only which
/// beam a record belongs to is known of it, so no beam is cast and the rest of a record is zero. The
/// record of column 127 in row 191, which marks a frame, is the first one.
class FennixSensor final : public PacedSensor {
 public:
  static constexpr SensorTraits kTraits = {};

  explicit FennixSensor(const SensorOptions& options);

 private:
  std::vector<std::uint8_t> EncodePacket(const SceneView& view, const PacketSlot& slot) override;

  std::vector<std::uint16_t> order_;  // positions in the order sent
};

}  // namespace orliq::sim
