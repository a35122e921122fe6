// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <vector>

#include "simulator/sensors/ScanningSensor.h"
#include "simulator/sensors/juniq/JuniqCalibration.h"
#include "simulator/sensors/juniq/JuniqEncoder.h"

namespace orliq::sim {

/// The Juniq sensor: 192 rings of 256 columns, 768 packets of 64 blocks each frame, in the order of
/// BeamOrder.
class JuniqSensor final : public ScanningSensor {
 public:
  explicit JuniqSensor(const SensorOptions& options);

  bool HasImu() const override { return true; }
  bool HasRadiusFilter() const override { return true; }
  std::vector<CheckTable> Tables() const override { return calibration_.Tables(); }

  const BeamCalibration& Calibration() const { return calibration_; }

 private:
  std::vector<std::uint8_t> EncodePacket(const Scene& scene, const PacketSlot& slot) override;
  JuniqBlock BlockAt(const Scene& scene, std::uint16_t position, double scene_time_s);

  BeamCalibration calibration_;
  std::vector<std::uint16_t> order_;  // positions in the order sent
  std::vector<Vec3> directions_;      // by position
};

}  // namespace orliq::sim
