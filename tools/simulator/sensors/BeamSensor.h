// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <vector>

#include "simulator/sensors/BeamCalibration.h"
#include "simulator/sensors/ByteWriter.h"
#include "simulator/sensors/ScanningSensor.h"

namespace orliq::sim {

/// How the blocks of a model lie in its packets.
struct BlockLayout {
  std::size_t packet_bytes = 0;
  std::size_t blocks = 0;  ///< in a packet
};

/// A sensor whose every beam is calibrated: 192 rings of 256 columns in the order of BeamOrder, a
/// block for each beam. A model adds how a block and what follows the last one are written.
class BeamSensor : public ScanningSensor {
 public:
  std::vector<CheckTable> Tables() const final { return calibration_.Tables(); }
  const BeamCalibration& Calibration() const { return calibration_; }

 protected:
  BeamSensor(const SensorTraits& traits, const BlockLayout& layout, BeamCalibration calibration,
             const SensorOptions& options);

  /// Appends the block of a beam that measured `hit`, or nothing.
  virtual void WriteBlock(ByteWriter& writer, std::uint16_t position,
                          const std::optional<Hit>& hit) = 0;

  /// Appends what comes behind the blocks of a packet.
  virtual void WriteTail(ByteWriter& writer, const PacketSlot& slot) = 0;

 private:
  Hit Meet(const SceneView& view, std::uint16_t position, double time_s);
  std::vector<std::uint8_t> EncodePacket(const SceneView& view, const PacketSlot& slot) final;

  BlockLayout layout_;
  BeamCalibration calibration_;
  std::vector<std::uint16_t> order_;  // positions in the order sent
  std::vector<Vec3> directions_;      // by position
  std::uint64_t still_number_ = 0;    // of the view that met_ is of; 0: of none
  std::vector<Hit> met_;              // by position
  std::vector<bool> known_;           // which of them
};

}  // namespace orliq::sim
