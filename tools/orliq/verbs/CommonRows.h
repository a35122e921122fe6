// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "orliq/clouds/CloudSink.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/Report.h"

// Rows that the closing tables of play, live and record have in common.
namespace orliq::cli {

/// Packets that the driver refuses, by its error codes.
struct RefusedPackets {
  std::uint64_t length = 0;      ///< 0x41: other than the model's length, or cut, or too large
  std::uint64_t identifier = 0;  ///< 0x42
};

/// What has come to a port.
struct Reception {
  std::string listened_on;
  double seconds = 0.0;  ///< from the start
  double active = 0.0;   ///< [s] from the first packet to the last
  std::uint64_t packets = 0;
  double packets_per_s = 0.0;
};

void AddReceptionRows(Report& report, const Reception& reception);
void AddPointRows(Report& report, std::uint64_t points, std::uint64_t non_zero);

Json SpreadJson(std::uint64_t min, std::uint64_t median, std::uint64_t max);

/// Fewest, median and most points of a frame, so that loss shows: a frame that lost packets has fewer
/// points, one without its mark those of two. All are 0 without a frame. `of` says of what, if not of
/// a frame.
void AddSpreadRow(Report& report, std::uint64_t min, std::uint64_t median, std::uint64_t max,
                  const std::string& of = "frame");

/// A remark on clouds of a model that measures, when they hold no point but at the origin, or none at
/// all; else empty.
std::string NothingMeasuredText(const Model& model, std::uint64_t clouds, std::uint64_t non_zero);

/// Two counts, each with the words behind it: "3 early, 1 late"; "none" when both are 0.
std::string NoneOr(std::uint64_t count, const std::string& text, std::uint64_t other,
                   const std::string& other_text);

/// How often a fault came that was asked for.
struct FaultCount {
  const char* key;    ///< in JSON
  const char* words;  ///< behind the count
  std::uint64_t count;
};

/// A table of those that came, all of them in JSON.
void AddFaultRows(Report& report, const char* key, const char* title,
                  const std::vector<FaultCount>& faults);

/// "20 pcd files in frames, 15.7 MB"
std::string FilesText(const CloudSink& sink, const std::string& out);

}  // namespace orliq::cli
