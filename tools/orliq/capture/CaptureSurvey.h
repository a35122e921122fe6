// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "orliq/capture/FlowList.h"
#include "orliq/capture/FrameCounter.h"
#include "orliq/capture/UdpRecord.h"
#include "orliq/sensors/Models.h"

namespace orliq::cli {

/// What a capture holds.
struct CaptureSurvey {
  std::uint64_t file_bytes = 0;
  std::string link_type;
  std::uint64_t records = 0;
  std::vector<Flow> flows;             ///< by port, then the one with most packets first
  std::uint64_t in_further_flows = 0;  ///< datagrams of flows beyond the limit of 1,000
  std::array<std::uint64_t, kSkips> skipped{};
  double first_time = 0.0;           ///< [s] UTC, earliest record
  double last_time = 0.0;            ///< [s] UTC, latest record
  std::string fault;                 ///< why reading stopped before the end of the file; else empty
  bool interrupted = false;          ///< the user ended the survey
  std::vector<FrameRecords> frames;  ///< of all the wanted datagrams, for the model asked for

  std::uint64_t Skipped(Skip reason) const { return skipped[static_cast<std::size_t>(reason)]; }
  double Duration() const { return last_time - first_time; }
};

/// What is looked for in a capture.
struct SurveyScope {
  std::uint16_t port = 0;        ///< destination; 0: any
  std::uint32_t source = 0;      ///< address of the sender; 0: any
  const Model* model = nullptr;  ///< whose frames are counted; null: none
};

/// Tells how many of the file's bytes have been read.
using SurveyProgress = std::function<void(std::uint64_t)>;

/// Reads a whole capture file (pcap or pcapng) once, until the user interrupts it. Throws Failure
/// when the file cannot be opened or is no capture; a fault further on ends the survey and stands in
/// `fault`.
CaptureSurvey SurveyCapture(const std::string& path, const SurveyScope& scope,
                            const SurveyProgress& progress);

}  // namespace orliq::cli
