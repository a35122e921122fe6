// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

#include "multi_driver/ClockStatistics.h"
#include "orliq/sensors/Models.h"

namespace orliq::cli {

/// How a sensor's clock stands to this machine's, and by what.
enum class ClockRelation : std::uint8_t {
  kNoTime,     ///< the model sends none
  kNoPacket,   ///< none that told a time has come
  kTogether,   ///< nearer than half a frame of 10 Hz
  kTai,        ///< 37 s: one keeps atomic time, the other UTC
  kGps,        ///< 18 s: one keeps the satellites' time, the other UTC
  kTimeZone,   ///< whole quarters of an hour: one keeps local time
  kApart,      ///< none of these
  kYears,      ///< not set; or packets of a recording
  kOtherPace,  ///< no clock drifts so fast: packets of a recording, sent faster or slower
};

/// A word for scripts, such as "together".
const char* ClockRelationKey(ClockRelation relation);

struct ClockVerdict {
  ClockRelation relation = ClockRelation::kNoPacket;
  bool drifts = false;  ///< by more than what the packets' way varies can explain
  bool jumped = false;  ///< a clock was set, a recording began anew, or packets were held up
  std::string text;     ///< "2.1 ms apart, spread 0.4 ms; drifting 40 ppm (loses 3.5 s a day)"

  /// Whether frames cannot be compared with this machine's time, or soon will not be. A sensor without
  /// time is no fault.
  bool IsFault() const;
};

ClockVerdict JudgeClock(const Model& model, const lidar::ClockStatistics& clock);

}  // namespace orliq::cli
