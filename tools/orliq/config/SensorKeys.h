// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/config/SensorFile.h"
#include "orliq/config/YamlValue.h"

namespace orliq::cli {

/// Reads the keys that `entries` holds over what `sensor` has already.
void ReadKeys(const YamlValue::Entries& entries, ConfiguredSensor& sensor);

/// Turns the host of params_from, of which ReadKeys asks nobody, into an address, if need be by asking the
/// network. `value` is that of the key, in the sensor or in defaults.
void ResolveParamsFrom(const YamlValue& value, ConfiguredSensor& sensor);

/// The keys that may stand in a sensor, in defaults, or in a sensor only, in the order in which messages
/// name them.
std::vector<std::string> SensorKeyNames();
std::vector<std::string> SharedKeyNames();
std::vector<std::string> OwnKeyNames();

}  // namespace orliq::cli
