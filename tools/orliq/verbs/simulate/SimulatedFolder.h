// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

#include "simulator/sensors/Sensor.h"

namespace orliq::cli {

/// The calibration of a synthetic sensor in a folder, and with it the file simulated.txt that lists
/// what was written with a checksum each. By that list a later call knows which files it may replace.
///
/// The name of the list holds no table's word, so drivers do not take it for a table. A sensor
/// without tables writes nothing.
class SimulatedFolder {
 public:
  /// Makes the folder when it is missing and writes nothing yet. Throws Failure when it holds a file
  /// that no simulation wrote or that was changed since, unless `force` is given, and when `capture`
  /// (or nothing) is to be written to the same folder under the name of a table. The sensor outlives
  /// this object.
  SimulatedFolder(const sim::Sensor& sensor, std::string folder, const std::string& capture,
                  bool force);

  /// With `force` every other file that could be taken for a table is removed: which one a driver
  /// reads would be chance. Throws Failure when the disk refuses.
  void Write() const;

 private:
  const sim::Sensor& sensor_;
  std::string folder_;
  bool force_;
};

}  // namespace orliq::cli
