// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/PlayTally.h"

namespace orliq::cli {
namespace {

struct Sums {
  std::uint64_t frames = 0;  ///< clouds with points
  std::uint64_t empty = 0;
  std::uint64_t points = 0;
  std::uint64_t non_zero = 0;
  double seconds = 0.0;
  bool incomplete = false;  ///< the capture ends inside the last one
  bool ends_empty = false;  ///< the capture ends with the mark of its last frame
};

Sums SumUp(const PlayTally& tally) {
  Sums sums;
  for (const PlayedFrame& frame : tally.frames) {
    ++(frame.points > 0 ? sums.frames : sums.empty);
    sums.points += frame.points;
    sums.non_zero += frame.non_zero;
    // An empty cloud takes next to no time and would make the mean look better than it is.
    if (frame.points > 0) sums.seconds += frame.seconds;
    if (frame.frame == tally.entries - 1)
      (frame.points > 0 ? sums.incomplete : sums.ends_empty) = true;
  }
  return sums;
}

Json FrameJson(const PlayedFrame& frame) {
  return {{"frame", frame.frame},
          {"part", frame.part},
          {"timestamp", frame.timestamp},
          {"points", frame.points},
          {"non_zero_points", frame.non_zero},
          {"ms", frame.seconds * 1e3},
          {"file", frame.file}};
}

void AddFrameRows(Report& report, const PlayTally& tally, const Sums& sums) {
  report.Add(
      "frames", "Frames", sums.frames,
      Grouped(sums.frames) + (sums.incomplete ? ", the last one cut by the capture's end" : ""));
  report.Add("empty_frames", "Empty frames", sums.empty,
             Grouped(sums.empty) + (sums.ends_empty ? ", after the last frame mark" : ""));
  report.Add("last_frame_incomplete", "", sums.incomplete, "");
  report.Add("frame_entries", "", tally.entries, "");
  report.Add("played", "", {tally.first, tally.last}, "");
}

void AddDecodeRows(Report& report, const Sums& sums) {
  const double ms = sums.frames > 0 ? sums.seconds * 1e3 / static_cast<double>(sums.frames) : 0.0;
  const double rate = sums.seconds > 0 ? static_cast<double>(sums.points) / sums.seconds : 0.0;
  AddPointRows(report, sums.points, sums.non_zero);
  report.Add("ms_per_frame", "Decode time", ms,
             Fixed(ms, 2) + " ms per frame, " + Fixed(rate * 1e-6, 1) + " million points/s");
  report.Add("points_per_s", "", rate, "");
}

void AddPacketRows(Report& report, const PlayTally& tally) {
  AddRefusedRows(report, tally.refused);
  Json reports = Json::object();
  for (const auto& [code, count] : tally.fault_reports) {
    const auto byte = static_cast<std::uint8_t>(code);
    reports["0x" + HexBytes(&byte, 1)] = count;
  }
  report.Add("driver_fault_reports", "", reports, "");
}

}  // namespace

RefusedPackets CountRefused(const CaptureSurvey& survey, const Model& model) {
  RefusedPackets refused;
  refused.length = survey.Skipped(Skip::kCut) + survey.Skipped(Skip::kTooLarge);
  for (const Flow& flow : survey.flows) {
    const auto sized = flow.sizes.find(model.packet_bytes);
    const std::uint64_t of_right_length = sized == flow.sizes.end() ? 0 : sized->second;
    refused.length += flow.packets - of_right_length;
    refused.identifier += of_right_length - flow.fits[ModelIndex(model)];
  }
  return refused;
}

bool PlayTally::HasLosses() const {
  return refused.length > 0 || refused.identifier > 0 || !fault_reports.empty();
}

Report PlayTally::MakeReport() const {
  const Sums sums = SumUp(*this);
  Report report;
  AddFrameRows(report, *this, sums);
  AddDecodeRows(report, sums);
  report.Add("files_written", files.empty() ? "" : "Files", files_written, files);
  AddPacketRows(report, *this);
  Json list = Json::array();
  for (const PlayedFrame& frame : frames) list.push_back(FrameJson(frame));
  report.Add("clouds", "", std::move(list), "");
  return report;
}

}  // namespace orliq::cli
