// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "orliq/config/SensorFile.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// "sensors.yaml:7: front: ", what a fault of a sensor begins with; `path` is that of its file.
inline std::string PlaceOf(const std::string& path, const ConfiguredSensor& sensor) {
  return path + ':' + std::to_string(sensor.line) + ": " + sensor.name + ": ";
}

/// Does `work`, which does not know what sensor it is for: the Failure that it throws then begins with
/// `place`.
template <typename Work>
auto At(const std::string& place, const Work& work) {
  try {
    return work();
  } catch (const Failure& failure) {
    throw Failure(failure.Code(), place + failure.what());
  }
}

}  // namespace orliq::cli
