// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <string>
#include <vector>

#include "simulator/scene/SceneView.h"
#include "simulator/sensors/CheckFolder.h"

namespace orliq::sim {

/// One UDP payload and the moment it leaves the sensor.
struct Packet {
  std::vector<std::uint8_t> payload;
  double time_s = 0.0;  ///< seconds since 1970-01-01 UTC
};

/// What the sensor measures wrongly on purpose. All zero: it is perfect up to its quantum of range.
struct Faults {
  double range_noise_m = 0.0;      ///< standard deviation of every measured range [m], >= 0
  double false_return_rate = 0.0;  ///< share of beams that report a range out of nowhere, 0 to 1
};

struct SensorOptions {
  std::uint64_t seed = 1;              ///< chooses the individual sensor and all that is random
  double frame_rate_hz = 10.0;         ///< 0.1 to 1000
  bool radius_filter = true;           ///< whether the calibration asks for the radius filter
  std::size_t cycle_packets = 2;       ///< 2 or 4 packets for each azimuth of a Kelvane
  double start_time_s = 1700000000.0;  ///< of frame 0, seconds since 1970-01-01 UTC, 0 to year 9999
  Faults faults;
};

/// What the models have beside frames of packets, and not all of them. An option for what a model
/// lacks has no effect.
struct SensorTraits {
  bool beams = false;          ///< packets carry what it measures of the scene: Faults count
  bool imu = false;            ///< packets carry inertial samples
  bool check_folder = false;   ///< it has calibration tables
  bool radius_filter = false;  ///< SensorOptions::radius_filter counts
  bool cycle = false;          ///< SensorOptions::cycle_packets counts
};

/// A synthetic sensor: a scene in, the packets of a real unit out. The same options give the same
/// bytes with every compiler. Not thread safe; the scene is only read during the call.
class Sensor {
 public:
  explicit Sensor(const SensorTraits& traits) : traits_(traits) {}
  virtual ~Sensor() = default;
  Sensor(const Sensor&) = delete;
  Sensor& operator=(const Sensor&) = delete;

  virtual std::size_t PacketsPerFrame() const = 0;

  /// The packets of one frame in the order they leave. Frames are asked for in order from 0. The
  /// scene starts together with frame 0.
  virtual std::vector<Packet> EncodeFrame(const SceneView& view, std::uint64_t frame) = 0;

  bool HasBeams() const { return traits_.beams; }
  bool HasImu() const { return traits_.imu; }
  bool HasCheckFolder() const { return traits_.check_folder; }
  bool HasRadiusFilter() const { return traits_.radius_filter; }
  bool HasCycle() const { return traits_.cycle; }

  /// This unit's calibration; none for a model that needs none.
  virtual std::vector<CheckTable> Tables() const { return {}; }

  /// Writes these tables as a check-parameter folder, which is created when missing. Each file
  /// appears complete or not at all. False, and a line in `error`, when that is not possible or there
  /// are none.
  [[nodiscard]] bool WriteCheckFolder(const std::filesystem::path& folder,
                                      std::string& error) const;

 private:
  SensorTraits traits_;
};

/// A sensor of that model; null for an unknown model or options outside their limits.
std::unique_ptr<Sensor> MakeSensor(const std::string& model, const SensorOptions& options);

/// The models that MakeSensor knows, and those of them that have what is asked for, such as
/// &SensorTraits::imu.
std::vector<std::string> SensorNames();
std::vector<std::string> SensorNames(bool SensorTraits::*trait);

}  // namespace orliq::sim
