// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/play/PlayTally.h"

#include <algorithm>

#include "orliq/capture/SurveyText.h"
#include "orliq/clouds/PointSpread.h"
#include "orliq/verbs/Ledger.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kPartialShown = 4;

struct Sums {
  PointSpread spread;  ///< of each cloud that counts
  std::uint64_t empty = 0;
  std::uint64_t all_points = 0;
  std::uint64_t non_zero = 0;
  double seconds = 0.0;
  bool last_incomplete = false;  ///< points follow the last mark of the capture
};

Sums SumUp(const PlayTally& tally) {
  Sums sums;
  for (const PlayedFrame& frame : tally.frames) {
    if (!tally.model->delivers_frames) {
      ++sums.empty;
      continue;
    }
    // Behind the last mark there is always an entry. Of a mark that ends a frame it is a beginning,
    // and nothing in it is no loss.
    const bool rest = frame.frame == tally.entries - 1 && (frame.partial || tally.marks == 0);
    if (rest && frame.points > 0) sums.last_incomplete = true;
    if (frame.partial && !tally.keep_partial) continue;
    if (frame.points == 0) {
      if (!rest) ++sums.empty;
      continue;
    }
    sums.spread.Add(frame.points);
    sums.all_points += frame.points;
    sums.non_zero += frame.non_zero;
    sums.seconds += frame.seconds;
  }
  return sums;
}

/// Points of the partial frames with any, by number.
std::map<int, std::uint64_t> PartialFrames(const PlayTally& tally) {
  std::map<int, std::uint64_t> points;
  for (const PlayedFrame& frame : tally.frames) {
    if (frame.partial && frame.points > 0) points[frame.frame] += frame.points;
  }
  return points;
}

Json FrameJson(const PlayedFrame& frame, const Model& model) {
  return {{"kind", model.delivers_frames ? "frame" : "end"},
          {"frame", frame.frame},
          {"part", frame.part},
          {"partial", frame.partial && model.delivers_frames},
          {"timestamp", frame.timestamp},
          {"points", frame.points},
          {"non_zero_points", frame.non_zero},
          {"ms", frame.seconds * 1e3},
          {"file", frame.file}};
}

/// A list of all the clouds that the driver gave.
Json CloudsJson(const PlayTally& tally) {
  Json list = Json::Array();
  for (const PlayedFrame& frame : tally.frames) {
    if (frame.early_points) {
      list.Add({{"kind", "extra"}, {"frame", frame.frame}, {"points", *frame.early_points}});
    }
    list.Add(FrameJson(frame, *tally.model));
  }
  return list;
}

/// The driver gives a frame in two clouds when its decoder was left in the midst of another one.
void AddExtraRow(Report& report, const PlayTally& tally) {
  std::uint64_t clouds = 0;
  std::string text;  // of the first; there is mostly one
  for (const PlayedFrame& frame : tally.frames) {
    if (!frame.early_points) continue;
    if (++clouds > 1) continue;
    const std::string where = " ahead of frame " + std::to_string(frame.frame);
    text = *frame.early_points == 0
               ? "empty," + where
               : Count(*frame.early_points, "point") + where + ", joined to it";
  }
  if (clouds > 1) text += ", and " + Grouped(clouds - 1) + " more";
  report.Add("extra_clouds", clouds > 0 ? "Extra cloud" : "", clouds, text);
}

void AddPartialRows(Report& report, const PlayTally& tally) {
  std::string text;
  Json list = Json::Array();
  for (const auto& [frame, points] : PartialFrames(tally)) {
    list.Add({{"frame", frame}, {"points", points}, {"kept", tally.keep_partial}});
    if (list.Size() > kPartialShown) continue;
    text += (text.empty() ? "" : ", ") + std::to_string(frame) + " with " + Count(points, "point");
  }
  if (list.Size() > kPartialShown) {
    text += ", and " + Grouped(list.Size() - kPartialShown) + " more";
  }
  report.Add("partial_frames", text.empty() ? "" : "Partial frames", std::move(list),
             (tally.keep_partial ? "kept: " : "left out: ") + text);
}

void AddEmptyRow(Report& report, const PlayTally& tally, std::uint64_t empty) {
  const bool ends_alone = !tally.model->delivers_frames;
  report.Add("empty_frames",
             empty == 0   ? ""
             : ends_alone ? "Empty clouds"
                          : "Empty frames",
             empty, Grouped(empty) + (ends_alone ? ", from the end of the capture" : ""));
}

void AddFrameRows(Report& report, const PlayTally& tally, const Sums& sums) {
  const std::uint64_t frames = sums.spread.Frames();
  const bool unmarked = tally.marks == 0 && tally.model->delivers_frames;
  report.Add("frames", "Frames", frames,
             (unmarked ? Count(frames, "cloud") + " without a frame mark" : Grouped(frames)) +
                 WhyNoFrames(*tally.model) + (tally.interrupted ? ", interrupted" : ""));
  report.Add("frame_marks", "", tally.marks, "");
  AddPartialRows(report, tally);
  AddExtraRow(report, tally);
  AddEmptyRow(report, tally, sums.empty);
  report.Add("last_frame_incomplete", "", sums.last_incomplete, "");
  report.Add("frame_entries", "", tally.entries, "");
  report.Add("played", "", {tally.first, tally.done}, "");
  report.Add("interrupted", "", tally.interrupted, "");
}

void AddDecodeRows(Report& report, const Sums& sums) {
  const double frames = static_cast<double>(std::max<std::uint64_t>(sums.spread.Frames(), 1));
  const double ms = sums.seconds * 1e3 / frames;
  const double rate = sums.seconds > 0 ? static_cast<double>(sums.all_points) / sums.seconds : 0.0;
  AddPointRows(report, sums.all_points, sums.non_zero);
  AddSpreadRow(report, sums.spread.Min(), sums.spread.Median(), sums.spread.Max());
  report.Add("ms_per_frame", sums.all_points > 0 ? "Decode time" : "", ms,
             Fixed(ms, 2) + " ms per frame, " + Fixed(rate * 1e-6, 1) + " million points/s");
  report.Add("points_per_s", "", rate, "");
}

void AddPacketRows(Report& report, const PlayTally& tally) {
  report.Add("packets_decoded", "", tally.packets.accepted, "");
  report.Add("refused_length", "", tally.packets.refused.length, "");
  report.Add("refused_identifier", "", tally.packets.refused.identifier, "");
  report.Add("unreadable_packets", tally.packets.unreadable.empty() ? "" : "Unreadable",
             LostJson(tally.packets.unreadable), LostText(tally.packets.unreadable));
  Json reports = Json::Object();
  for (const auto& [code, count] : tally.fault_reports) {
    const auto byte = static_cast<std::uint8_t>(code);
    reports["0x" + HexBytes(&byte, 1)] = count;
  }
  report.Add("driver_fault_reports", "", reports, "");
  std::string names;
  for (const auto& sender : tally.senders) names += (names.empty() ? "" : ", ") + sender;
  report.Add("senders", tally.senders.size() > 1 ? "Senders" : "", tally.senders,
             names + ": mixed in each frame");
}

}  // namespace

PlayedPackets FindPackets(const std::vector<FrameRecords>& frames, int first, int last) {
  PlayedPackets packets;
  for (int i = first; i < last && i < static_cast<int>(frames.size()); ++i) {
    const FrameRecords& frame = frames[static_cast<std::size_t>(i)];
    packets.accepted += frame.packets;
    packets.refused.length += frame.length;
    packets.refused.identifier += frame.identifier;
    for (const auto& [reason, count] : frame.unreadable) packets.unreadable[reason] += count;
  }
  return packets;
}

std::vector<std::string> LossRemarks(const PlayedPackets& packets, const SensorWords& words) {
  std::vector<std::string> remarks;
  if (packets.refused.length + packets.refused.identifier > 0) {
    remarks.push_back(
        std::string("packets of other kinds reached the decoder: orliq info shows the ports, ") +
        words.port + " chooses one");
  }
  if (!packets.unreadable.empty()) {
    remarks.emplace_back("unreadable packets went to the sensor's port: their points are missing");
  }
  return remarks;
}

std::string PlayTally::Doubt() const {
  const Sums sums = SumUp(*this);
  return NothingMeasuredText(*model, sums.spread.Frames() + sums.empty, sums.non_zero);
}

Report PlayTally::MakeReport() const {
  const Sums sums = SumUp(*this);
  Report report;
  AddFrameRows(report, *this, sums);
  AddDecodeRows(report, sums);
  report.Add("files_written", files.empty() ? "" : "Files", files_written, files);
  AddPacketRows(report, *this);
  AddLedger(report, {model, counts, sums.spread.Frames(), true, packets.accepted});
  report.Add("clouds", "", CloudsJson(*this), "");
  return report;
}

}  // namespace orliq::cli
