// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <optional>

#include "simulator/sensors/BeamSensor.h"

namespace orliq::sim {

/// The Glavor sensor: 1536 packets of 32 blocks each frame. A beam that nothing comes back to has no
/// strength either, so that the near filter takes its range to 0.
class GlavorSensor final : public BeamSensor {
 public:
  static constexpr SensorTraits kTraits = {/*beams=*/true, /*imu=*/false, /*check_folder=*/true};

  explicit GlavorSensor(const SensorOptions& options);

 private:
  void WriteBlock(ByteWriter& writer, std::uint16_t position,
                  const std::optional<Hit>& hit) override;
  void WriteTail(ByteWriter& writer, const PacketSlot& slot) override;
};

}  // namespace orliq::sim
