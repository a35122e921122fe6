// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "orliq/clouds/LiveSource.h"
#include "orliq/config/SensorFile.h"
#include "orliq/verbs/live/FusedCounts.h"

namespace orliq::cli {

/// Several live sensors whose frames become one cloud, whatever its point type.
class FusedSource {
 public:
  FusedSource() = default;
  virtual ~FusedSource() = default;
  FusedSource(const FusedSource&) = delete;
  FusedSource& operator=(const FusedSource&) = delete;

  /// Initialises and starts the driver; false when that fails.
  virtual bool Open() = 0;

  /// How many sensors are set up: of an Open that fails, those before the one at fault.
  virtual std::size_t Opened() const = 0;
  virtual void Stop() = 0;

  /// Whether all the clouds that were asked for are here.
  virtual bool Complete() const = 0;
  virtual FusedCounts Counts() const = 0;

  /// Where a sensor's calibration comes from, and which tables are not in use.
  virtual lidar::CalibrationStatus Calibration(std::size_t sensor) const = 0;
};

/// Receives clouds of the point type that --point names, through the public driver. The counting happens on
/// its fusion thread. Of `choice` the sensors have sources of their own. `saver` and `taker` may be null and
/// outlive the source.
std::unique_ptr<FusedSource> MakeFusedSource(const std::string& point,
                                             const std::vector<ConfiguredSensor>& sensors,
                                             const FrameChoice& choice, CloudSaver* saver,
                                             CloudTaker* taker);

}  // namespace orliq::cli
