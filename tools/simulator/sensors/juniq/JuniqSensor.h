// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "simulator/sensors/BeamSensor.h"

namespace orliq::sim {

/// The Juniq sensor: 768 packets of 64 blocks each frame.
class JuniqSensor final : public BeamSensor {
 public:
  static constexpr SensorTraits kTraits = {/*beams=*/true, /*imu=*/true, /*check_folder=*/true,
                                           /*radius_filter=*/true};

  explicit JuniqSensor(const SensorOptions& options);

 private:
  void WriteBlock(ByteWriter& writer, std::uint16_t position,
                  const std::optional<Hit>& hit) override;
  void WriteTail(ByteWriter& writer, const PacketSlot& slot) override;
};

}  // namespace orliq::sim
