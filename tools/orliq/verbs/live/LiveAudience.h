// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>
#include <vector>

#include "orliq/clouds/CloudTaker.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/Ledger.h"

namespace orliq::cli {

/// What is known of the live sensors at a look.
struct LiveLook {
  std::vector<NamedLedger> sensors;
  std::string silence;  ///< why nothing may have come, once that has lasted; else empty
};

/// Takes part in what live does: gets the clouds and samples, and the counts now and then.
class LiveAudience : public CloudTaker {
 public:
  /// On the thread that watches the sensors, many times a second.
  virtual void Look(const LiveLook& look) = 0;

  /// Adds its own rows to what live reports in the end.
  virtual void AddRows(Report& report) const = 0;
};

}  // namespace orliq::cli
