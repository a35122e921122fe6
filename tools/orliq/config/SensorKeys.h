// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/config/SensorFile.h"
#include "orliq/config/YamlValue.h"

namespace orliq::cli {

/// A key of a sensor, and how its value gets into the sensor.
struct SensorKey {
  const char* name;
  bool shared;  ///< may stand in defaults too
  void (*read)(const YamlValue& value, ConfiguredSensor& sensor);
};

/// All of them, in the order in which messages name them.
const std::vector<SensorKey>& SensorKeys();

/// Reads the keys that `entries` holds over what `sensor` has already.
void ReadKeys(const YamlValue::Entries& entries, ConfiguredSensor& sensor);

/// The names of the keys that may stand in a sensor, or in defaults.
std::vector<std::string> SensorKeyNames();
std::vector<std::string> SharedKeyNames();

}  // namespace orliq::cli
