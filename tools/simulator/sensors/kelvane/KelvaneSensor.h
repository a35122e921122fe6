// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

#include "simulator/sensors/ScanningSensor.h"
#include "simulator/sensors/kelvane/KelvaneEncoder.h"

namespace orliq::sim {

constexpr std::size_t kKelvaneAzimuths = 600;  // azimuth 0 looks left the most
constexpr std::size_t kKelvaneColumns = 520;   // column 0 looks down the most
constexpr std::size_t kKelvaneFaces = 4;

/// The Kelvane sensor: 600 azimuths each frame, in each of them 520 columns of their own elevation.
/// An azimuth takes a cycle of two packets, a record for each column, or of four, two records for
/// each column. Every frame is seen by the next of the mirror's four faces, which lie a little
/// higher or lower. A beam's position is column + 520 * azimuth.
class KelvaneSensor final : public ScanningSensor {
 public:
  static constexpr SensorTraits kTraits = {/*beams=*/true, /*imu=*/false, /*check_folder=*/false,
                                           /*radius_filter=*/false, /*cycle=*/true};

  explicit KelvaneSensor(const SensorOptions& options);

 private:
  struct Angle {  // its functions, worked out once
    double cos = 1.0;
    double sin = 0.0;
  };
  static Angle AngleOf(int centidegrees);

  std::vector<std::uint8_t> EncodePacket(const SceneView& view, const PacketSlot& slot) override;
  void WriteColumn(ByteWriter& writer, const SceneView& view, const PacketSlot& slot,
                   std::size_t column);

  std::size_t cycle_packets_;
  std::array<Angle, kKelvaneAzimuths> azimuths_;
  std::array<std::array<Angle, kKelvaneColumns>, kKelvaneFaces> elevations_;
};

}  // namespace orliq::sim
