// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "orliq/capture/CaptureSurvey.h"
#include "orliq/terminal/Report.h"
#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {

/// One cloud of a playback.
struct PlayedFrame {
  int frame = 0;
  int part = 0;  ///< above 0 for the further clouds of a frame whose mark was lost
  double timestamp = 0.0;
  std::uint64_t points = 0;
  std::uint64_t non_zero = 0;
  double seconds = 0.0;
  std::string file;  ///< empty when none was written
};

/// Packets of the capture that the driver refuses.
RefusedPackets CountRefused(const CaptureSurvey& survey, const Model& model);

/// Sums of a playback and its closing table.
struct PlayTally {
  int entries = 0;  ///< of the whole capture
  int first = 0;    ///< first entry played
  int last = 0;     ///< behind the last entry played
  std::vector<PlayedFrame> frames;
  RefusedPackets refused;
  std::map<std::uint32_t, std::uint64_t> fault_reports;  ///< of the driver, by code
  std::string files;                                     ///< what was written where; or empty
  std::uint64_t files_written = 0;

  bool HasLosses() const;
  Report MakeReport() const;
};

}  // namespace orliq::cli
