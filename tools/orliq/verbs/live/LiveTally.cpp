// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/LiveTally.h"

#include "orliq/verbs/Ledger.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {
namespace {

double Rate(std::uint64_t count, double seconds) {
  return seconds > 0.0 ? static_cast<double>(count) / seconds : 0.0;
}

/// The first frame, if it held any points, is the rest of one that had begun before.
void AddPartialRow(Report& report, std::uint64_t points, bool kept) {
  Json list = Json::Array();
  if (points > 0) list.Add({{"frame", 0}, {"points", points}, {"kept", kept}});
  report.Add("partial_frames", points > 0 ? "Partial frames" : "", std::move(list),
             (kept ? "kept: 0 with " : "left out: 0 with ") + Count(points, "point"));
}

void AddFrameRows(Report& report, const LiveTally& tally) {
  const LiveCounts& counts = tally.counts;
  const CloudSums& frames = counts.frames;
  const double rate = frames.Rate();
  report.Add("frames", "Frames", frames.count,
             Grouped(frames.count) + WhyNoFrames(*tally.model) +
                 (rate > 0.0 ? ", " + Fixed(rate, 1) + " frames/s" : ""));
  report.Add("frames_per_s", "", rate, "");
  report.Add("empty_frames", counts.empty_frames > 0 ? "Empty frames" : "", counts.empty_frames,
             Grouped(counts.empty_frames));
  AddPartialRow(report, counts.partial_points, tally.keeps_partial);
  AddPointRows(report, frames.points, frames.non_zero);
  AddSpreadRow(report, frames.min_points, frames.median_points, frames.max_points);
  report.Add("imu_samples", tally.model->has_imu ? "IMU samples" : "", counts.imu_samples,
             Grouped(counts.imu_samples));
}

/// Only when the sensor is asked for its tables.
void AddCalibrationRows(Report& report, const LiveTally& tally) {
  const lidar::UploadStatistics& upload = tally.counts.packets.upload;
  if (upload.state == lidar::UploadState::None) return;
  AddUploadRows(report, upload);
  const std::uint64_t frames = tally.counts.frames_before_tables;
  report.Add("frames_before_tables", frames > 0 ? "Before tables" : "", frames,
             "left out: " + Count(frames, "frame"));
}

}  // namespace

bool LiveTally::HasLosses() const {
  return cli::HasLosses(counts.packets) || counts.not_written.Any();
}

Report LiveTally::MakeReport() const {
  Report report;
  AddReceptionRows(report, reception);
  report.Add("interrupted", "", interrupted, "");
  report.Add("packets_decoded", "", counts.packets.decoded, "");
  AddSenderRows(report, counts.packets, source);
  AddCalibrationRows(report, *this);
  AddFrameRows(report, *this);
  AddClockRow(report, *model, counts.packets.clock);
  AddLossRows(report, counts.packets);
  AddFileRows(report, files, counts.not_written);
  AddLedger(report, {model, counts.packets, counts.frames.count});
  return report;
}

std::string LiveStatusText(const LiveCounts& before, const LiveCounts& now, double seconds) {
  const auto& packets = now.packets;
  const auto rate = [seconds](std::uint64_t from, std::uint64_t to, int digits) {
    return Fixed(Rate(to - from, seconds), digits);
  };
  const std::string age =
      packets.last_packet_age_s < 0.0 ? "none" : Fixed(packets.last_packet_age_s, 1) + 's';
  const auto fault = [](const char* name, std::uint64_t count) {
    return count > 0 ? ' ' + std::string(name) + ':' + std::to_string(count) : std::string();
  };
  const lidar::UploadState upload = packets.upload.state;
  const bool waits = upload != lidar::UploadState::None && upload != lidar::UploadState::InUse;
  const std::string tables = waits ? "tables " + UploadShare(packets.upload) + ' ' : "";
  return tables + rate(before.packets.received, packets.received, 0) + " pkt/s " +
         rate(before.frames.count, now.frames.count, 1) + " fps " +
         std::to_string(now.frames.last_points) + " pts " +
         rate(before.imu_samples, now.imu_samples, 0) + " IMU/s age:" + age +
         fault("lost", packets.dropped_by_kernel + packets.dropped_by_limit) +
         fault("0x41", packets.refused_length) + fault("0x42", packets.refused_identifier) +
         fault("unwritten", now.not_written.Count()) + " queue:" + std::to_string(packets.queued);
}

}  // namespace orliq::cli
