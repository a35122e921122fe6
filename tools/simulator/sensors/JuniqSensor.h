// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "simulator/sensors/JuniqCalibration.h"
#include "simulator/sensors/JuniqEncoder.h"
#include "simulator/sensors/Random.h"
#include "simulator/sensors/Sensor.h"

namespace orliq::sim {

/// What stands behind one block, before the time of flight is rounded.
struct JuniqTruth {
  std::uint16_t position = 0;  ///< column + 256 * row
  double range_m = 0.0;        ///< as measured: with noise, or the false return's; 0 for none
  bool measured = false;       ///< something came back within the sensor's reach
  bool is_false = false;       ///< it came back from nowhere
};

/// The Juniq sensor: 192 rings of 256 columns, 768 packets of 64 blocks each frame.
///
/// A frame runs column by column, each from row 0 to row 191, through columns 128 to 255 and then 0
/// to 127, so that the block which marks its end (column 127, row 191) is its last one.
class JuniqSensor final : public Sensor {
 public:
  explicit JuniqSensor(const SensorOptions& options);

  std::string Name() const override { return "juniq"; }
  std::size_t PacketsPerFrame() const override { return kJuniqBeams / kJuniqBlocksPerPacket; }
  std::vector<Packet> EncodeFrame(const Scene& scene, std::uint64_t frame) override;
  [[nodiscard]] bool WriteCheckFolder(const std::filesystem::path& folder,
                                      std::string& error) const override;

  /// Every block of the last frame in the order sent.
  const std::vector<JuniqTruth>& Truth() const { return truth_; }

  const JuniqCalibration& Calibration() const { return calibration_; }

 private:
  JuniqBlock Measure(const Scene& scene, std::uint16_t position, double scene_time_s);
  std::vector<std::uint8_t> EncodePacket(const Scene& scene, std::uint64_t packet);
  JuniqState StateAt(std::uint64_t packet) const;
  double SceneTime(std::uint64_t packet) const;

  SensorOptions options_;
  JuniqCalibration calibration_;
  std::vector<std::uint16_t> order_;  // positions in the order sent
  std::vector<Vec3> directions_;      // by position
  std::vector<JuniqTruth> truth_;
  Random noise_;         // streams of the current frame, one for each fault, so that asking for one
  Random false_return_;  // fault leaves the others as they were
};

}  // namespace orliq::sim
