// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <vector>

#include "multi_driver/Messages.h"
#include "orliq/clouds/CloudView.h"

namespace orliq::cli {

/// One sensor's share of a cloud.
struct CloudPart {
  std::uint64_t points = 0;  ///< which follow those of the sensors before it
  double timestamp = 0.0;    ///< [s] UTC of its frame, 0 of a sensor without time
  int entry = -1;            ///< of its capture; negative: live
};

/// A cloud that a driver has completed, with what it needs to outlive the driver's callback.
struct TakenCloud {
  std::shared_ptr<const void> owner;  ///< keeps alive what `view` refers to
  CloudView view;
  std::vector<CloudPart> parts;  ///< in sensor order
};

/// Gets what a live sensor delivers, beside the files that are written.
class CloudTaker {
 public:
  CloudTaker() = default;
  virtual ~CloudTaker() = default;
  CloudTaker(const CloudTaker&) = delete;
  CloudTaker& operator=(const CloudTaker&) = delete;

  /// On the driver's thread, which waits: hand the cloud on and return.
  virtual void Take(TakenCloud cloud) = 0;

  /// Likewise a sample of the only sensor.
  virtual void Take(const lidar::ImuMsg& sample) = 0;
};

}  // namespace orliq::cli
