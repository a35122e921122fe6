// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/LiveTally.h"

#include <tuple>

#include "orliq/capture/UdpRecord.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {
namespace {

double Rate(std::uint64_t count, double seconds) {
  return seconds > 0.0 ? static_cast<double>(count) / seconds : 0.0;
}

void AddSenderRows(Report& report, const LiveTally& tally) {
  const auto& packets = tally.counts.packets;
  const auto& [first, other] = std::tie(packets.first_sender, packets.other_sender);
  Json senders = Json::array();
  if (first.address != 0) senders.push_back(SenderText(first));
  if (other.address != 0) senders.push_back(SenderText(other));
  report.Add("senders", first.address != 0 ? "Sender" : "", std::move(senders), SenderText(first));
  report.Add("packets_of_other_senders", packets.of_other_senders > 0 ? "Other senders" : "",
             packets.of_other_senders,
             Count(packets.of_other_senders, "packet") + ", the last of " + SenderText(other));
  report.Add("packets_passed_over", tally.source.empty() ? "" : "Passed over", packets.other_source,
             Count(packets.other_source, "packet") + " not from " + tally.source);
}

/// The first frame, if it held any points, is the rest of one that had begun before.
void AddPartialRow(Report& report, std::uint64_t points, bool kept) {
  Json list = Json::array();
  if (points > 0) list.push_back({{"frame", 0}, {"points", points}, {"kept", kept}});
  report.Add("partial_frames", points > 0 ? "Partial frames" : "", std::move(list),
             (kept ? "kept: 0 with " : "left out: 0 with ") + Count(points, "point"));
}

void AddFrameRows(Report& report, const LiveTally& tally) {
  const LiveCounts& counts = tally.counts;
  // The span begins with the end of the first frame.
  const double rate = counts.frames > 1 ? Rate(counts.frames - 1, counts.frames_span) : 0.0;
  report.Add("frames", "Frames", counts.frames,
             Grouped(counts.frames) + WhyNoFrames(*tally.model) +
                 (rate > 0.0 ? ", " + Fixed(rate, 1) + " frames/s" : ""));
  report.Add("frames_per_s", "", rate, "");
  report.Add("empty_frames", counts.empty_frames > 0 ? "Empty frames" : "", counts.empty_frames,
             Grouped(counts.empty_frames));
  AddPartialRow(report, counts.partial_points, tally.keeps_partial);
  AddPointRows(report, counts.points, counts.non_zero);
  AddSpreadRow(report, counts.min_points, counts.median_points, counts.max_points);
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

void AddLossRows(Report& report, const lidar::DriverStatistics& packets) {
  AddRefusedRows(report, {packets.refused_length, packets.refused_identifier});
  report.Add("dropped_by_kernel", "Lost packets", packets.dropped_by_kernel,
             NoneOr(packets.dropped_by_kernel, "by the system", packets.dropped_by_limit,
                    "by the limit of the queue"));
  report.Add("dropped_by_limit", "", packets.dropped_by_limit, "");
  report.Add("receive_errors", "", packets.receive_errors, "");
  report.Add("queued_max", "Highest queue", packets.queued_max,
             Count(packets.queued_max, "packet"));
  report.Add("queued_at_end", "", packets.queued, "");
  report.Add("socket_buffer_bytes", "", packets.socket_buffer_bytes, "");
}

void AddFileRows(Report& report, const LiveTally& tally) {
  report.Add("files_written", tally.files.empty() ? "" : "Files", tally.files_written, tally.files);
  const auto& [no_room, faults, first_fault] = tally.counts.not_written;
  report.Add("frames_without_room", no_room + faults > 0 ? "Not written" : "", no_room,
             Count(no_room, "frame") + " for a slow disk, " + Grouped(faults) + " for faults");
  report.Add("frames_with_fault", "", faults, "");
}

}  // namespace

bool LiveTally::HasLosses() const {
  const auto& [packets, not_written] = std::tie(counts.packets, counts.not_written);
  return packets.refused_length + packets.refused_identifier + packets.dropped_by_kernel +
             packets.dropped_by_limit + not_written.no_room + not_written.faults >
         0;
}

bool LiveTally::LacksTables() const {
  const lidar::UploadState state = counts.packets.upload.state;
  return state == lidar::UploadState::Asking || state == lidar::UploadState::Receiving;
}

Report LiveTally::MakeReport() const {
  Report report;
  AddReceptionRows(report, reception);
  report.Add("interrupted", "", interrupted, "");
  report.Add("packets_decoded", "", counts.packets.decoded, "");
  AddSenderRows(report, *this);
  AddCalibrationRows(report, *this);
  AddFrameRows(report, *this);
  AddLossRows(report, counts.packets);
  AddFileRows(report, *this);
  return report;
}

std::string SenderText(const lidar::PacketSender& sender) {
  return sender.address == 0 ? "none" : Endpoint(sender.address, sender.port);
}

std::string MixedSendersText(const lidar::DriverStatistics& packets) {
  const auto& [first, other] = std::tie(packets.first_sender, packets.other_sender);
  const std::string both = SenderText(first) + " and " + SenderText(other) +
                           " both sent to this port: their packets are mixed in the frames. ";
  if (first.address == other.address) {
    return both + "Let one of them send to another port, unless it is the same sensor, restarted";
  }
  return both + "--source " + DottedAddress(first.address) + " takes the first one only";
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
         rate(before.frames, now.frames, 1) + " fps " + std::to_string(now.last_points) + " pts " +
         rate(before.imu_samples, now.imu_samples, 0) + " IMU/s age:" + age +
         fault("lost", packets.dropped_by_kernel + packets.dropped_by_limit) +
         fault("0x41", packets.refused_length) + fault("0x42", packets.refused_identifier) +
         fault("unwritten", now.not_written.no_room + now.not_written.faults) +
         " queue:" + std::to_string(packets.queued);
}

}  // namespace orliq::cli
