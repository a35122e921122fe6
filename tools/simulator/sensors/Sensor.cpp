// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/Sensor.h"

#include <cmath>

#include "multi_driver/SensorModels.h"
#include "simulator/sensors/brantis/BrantisSensor.h"
#include "simulator/sensors/corvik/CorvikSensor.h"
#include "simulator/sensors/fennix/FennixSensor.h"
#include "simulator/sensors/glavor/GlavorSensor.h"
#include "simulator/sensors/hestra/HestraSensor.h"
#include "simulator/sensors/juniq/JuniqSensor.h"
#include "simulator/sensors/kelvane/KelvaneSensor.h"

namespace orliq::sim {
namespace {

constexpr double kYear9999 = 253370764800.0;  // [s] start of the last year with four digits

/// A model of the driver's list that can be simulated; its name stands there.
struct Simulated {
  lidar::LidarType type;
  SensorTraits traits;
  std::unique_ptr<Sensor> (*make)(const SensorOptions& options);
};

template <typename Unit>
constexpr Simulated Row(lidar::LidarType type) {
  return {type, Unit::kTraits, [](const SensorOptions& options) -> std::unique_ptr<Sensor> {
            return std::make_unique<Unit>(options);
          }};
}

constexpr Simulated kSimulated[] = {
    Row<JuniqSensor>(lidar::LidarType::Juniq),     Row<GlavorSensor>(lidar::LidarType::Glavor),
    Row<FennixSensor>(lidar::LidarType::Fennix),   Row<CorvikSensor>(lidar::LidarType::Corvik),
    Row<BrantisSensor>(lidar::LidarType::Brantis), Row<HestraSensor>(lidar::LidarType::Hestra),
    Row<KelvaneSensor>(lidar::LidarType::Kelvane),
};

template <typename Wanted>
std::vector<std::string> Names(const Wanted& wanted) {
  std::vector<std::string> names;
  for (const Simulated& known : kSimulated) {
    if (wanted(known.traits)) names.emplace_back(lidar::FindSensorModel(known.type)->name);
  }
  return names;
}

bool IsShare(double value) {
  return 0.0 <= value && value <= 1.0;
}

bool Valid(const SensorOptions& options) {
  const Faults& faults = options.faults;
  return 0.1 <= options.frame_rate_hz && options.frame_rate_hz <= 1000.0 &&
         (options.cycle_packets == 2 || options.cycle_packets == 4) &&
         0.0 <= options.start_time_s && options.start_time_s < kYear9999 &&
         std::isfinite(faults.range_noise_m) && faults.range_noise_m >= 0.0 &&
         IsShare(faults.false_return_rate);
}

}  // namespace

bool Sensor::WriteCheckFolder(const std::filesystem::path& folder, std::string& error) const {
  const auto tables = Tables();
  if (!tables.empty()) return WriteTables(folder, tables, error);
  error = "a sensor without calibration tables has no check folder";
  return false;
}

std::unique_ptr<Sensor> MakeSensor(const std::string& model, const SensorOptions& options) {
  const lidar::SensorModel* const named = lidar::FindSensorModel(model);
  for (const Simulated& known : kSimulated) {
    if (named != nullptr && named->type == known.type && Valid(options)) return known.make(options);
  }
  return nullptr;
}

std::vector<std::string> SensorNames() {
  return Names([](const SensorTraits&) { return true; });
}

std::vector<std::string> SensorNames(bool SensorTraits::*trait) {
  return Names([trait](const SensorTraits& traits) { return traits.*trait; });
}

}  // namespace orliq::sim
