// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/config/SensorFile.h"
#include "orliq/config/YamlValue.h"

namespace orliq::cli {

/// Reads the keys that `entries` holds over what `sensor` has already.
void ReadKeys(const YamlValue::Entries& entries, ConfiguredSensor& sensor);

/// The keys that may stand in a sensor, or in defaults, in the order in which messages name them.
std::vector<std::string> SensorKeyNames();
std::vector<std::string> SharedKeyNames();

}  // namespace orliq::cli
