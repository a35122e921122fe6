// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <deque>
#include <set>
#include <string>
#include <vector>

#include "orliq/network/ListenOptions.h"
#include "orliq/terminal/Console.h"
#include "orliq/terminal/StatusLine.h"
#include "orliq/verbs/live/FusedSource.h"
#include "orliq/verbs/live/FusedTally.h"
#include "orliq/verbs/live/HoldUp.h"
#include "orliq/verbs/live/LiveAudience.h"
#include "orliq/verbs/live/SensorRemarks.h"

namespace orliq::cli {

/// What a user wants of the watching.
struct FusedWishes {
  const ListenOptions& listen;
  bool lenient;            ///< as of the upload
  LiveAudience* audience;  ///< may be null
};

/// Gathers the counts of several sensors, and says which of them holds the clouds up and why: once
/// for each state, as soon as it shows.
class FusedWatcher {
 public:
  /// All of them outlive this.
  FusedWatcher(const SensorFile& file, const FusedWishes& wishes, const FusedSource& source,
               const Console& console);

  void Look();

  /// The last look, when the source has stopped.
  void Conclude();

  /// Brings the status line up to date.
  void Show();

  /// Without a packet of some sensor, or all of its tables, no cloud can come any more.
  bool Over() const;
  FusedTally Tally() const;

 private:
  /// What is known of a sensor beside its counts.
  struct Watch {
    Remarks remarks;
    SensorRemarks facts;
    HoldUpWatch hold_up;
    std::set<HoldUp> told;  // but for those that end with a remark too
  };

  void LookAt(std::size_t sensor);
  bool IsSilent(std::size_t sensor) const;
  void TellAudience() const;
  void TellOfSilence(const std::vector<HoldUp>& before);
  void TellOfHoldUp(std::size_t sensor, HoldUp before);
  std::string HoldUpText(std::size_t sensor) const;

  const SensorFile& file_;
  const FusedSource& source_;
  const Console& console_;
  LiveAudience* const audience_;
  ListenTime time_;
  StatusLine line_;
  std::deque<Watch> sensors_;
  FusedMoment now_;
  FusedMoment shown_;
};

}  // namespace orliq::cli
