// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/Sensor.h"

#include <cmath>

#include "simulator/sensors/JuniqSensor.h"

namespace orliq::sim {
namespace {

constexpr double kYear9999 = 253370764800.0;  // [s] start of the last year with four digits

bool IsShare(double value) {
  return 0.0 <= value && value <= 1.0;
}

bool Valid(const SensorOptions& options) {
  const Faults& faults = options.faults;
  return 0.1 <= options.frame_rate_hz && options.frame_rate_hz <= 1000.0 &&
         0.0 <= options.start_time_s && options.start_time_s < kYear9999 &&
         std::isfinite(faults.range_noise_m) && faults.range_noise_m >= 0.0 &&
         IsShare(faults.false_return_rate);
}

}  // namespace

std::unique_ptr<Sensor> MakeSensor(const std::string& model, const SensorOptions& options) {
  if (!Valid(options)) {
    return nullptr;
  }
  if (model == "juniq") {
    return std::make_unique<JuniqSensor>(options);
  }
  return nullptr;
}

std::vector<std::string> SensorNames() {
  return {"juniq"};
}

}  // namespace orliq::sim
