// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/SensorRows.h"

#include <tuple>
#include <utility>

#include "orliq/capture/UdpRecord.h"
#include "orliq/sensors/ClockWords.h"
#include "orliq/verbs/CommonRows.h"

namespace orliq::cli {

std::string SenderText(const lidar::PacketSender& sender) {
  return sender.address == 0 ? "none" : Endpoint(sender.address, sender.port);
}

void AddSenderRows(Report& report, const lidar::DriverStatistics& packets,
                   const std::string& source) {
  const auto& [first, other] = std::tie(packets.first_sender, packets.other_sender);
  Json senders = Json::Array();
  if (first.address != 0) senders.Add(SenderText(first));
  if (other.address != 0) senders.Add(SenderText(other));
  report.Add("senders", first.address != 0 ? "Sender" : "", std::move(senders), SenderText(first));
  report.Add("packets_of_other_senders", packets.of_other_senders > 0 ? "Other senders" : "",
             packets.of_other_senders,
             Count(packets.of_other_senders, "packet") + ", the last of " + SenderText(other));
  report.Add("packets_passed_over", source.empty() ? "" : "Passed over", packets.other_source,
             Count(packets.other_source, "packet") + " not from " + source);
}

void AddLossRows(Report& report, const lidar::DriverStatistics& packets) {
  report.Add("refused_length", "", packets.refused_length, "");
  report.Add("refused_identifier", "", packets.refused_identifier, "");
  report.Add("dropped_by_kernel", "", packets.dropped_by_kernel, "");
  report.Add("dropped_by_limit", "", packets.dropped_by_limit, "");
  report.Add("receive_errors", "", packets.receive_errors, "");
  report.Add("queued_max", "Highest queue", packets.queued_max,
             Count(packets.queued_max, "packet"));
  report.Add("queued_at_end", "", packets.queued, "");
  report.Add("socket_buffer_bytes", "", packets.socket_buffer_bytes, "");
}

void AddClockRow(Report& report, const Model& model, const lidar::ClockStatistics& clock) {
  const ClockVerdict verdict = JudgeClock(model, clock);
  const bool told = clock.packets > 0;
  const auto of_told = [told](double value) { return told ? Json(value) : Json(); };
  Json json = {{"relation", ClockRelationKey(verdict.relation)},
               {"text", verdict.text},
               {"packets", clock.packets},
               {"latest_s", of_told(clock.latest_s)},
               {"smallest_s", of_told(clock.smallest_s)},
               {"largest_s", of_told(clock.largest_s)},
               {"drift_ppm", clock.drift_over_s > 0.0 ? Json(clock.drift_ppm) : Json()},
               {"drift_over_s", clock.drift_over_s},
               {"jumps", clock.jumps}};
  report.Add("clock", "Sensor clock", std::move(json), verdict.text);
}

bool HasLosses(const lidar::DriverStatistics& packets) {
  return packets.refused_length + packets.refused_identifier + packets.dropped_by_kernel +
             packets.dropped_by_limit >
         0;
}

bool LacksTables(const lidar::DriverStatistics& packets) {
  const lidar::UploadState state = packets.upload.state;
  return state == lidar::UploadState::Asking || state == lidar::UploadState::Receiving;
}

void AddFileRows(Report& report, const WrittenFiles& files, const CloudSaver::Losses& not_written,
                 const std::string& of) {
  report.Add("files_written", files.text.empty() ? "" : "Files", files.count, files.text);
  const auto& [no_room, faults, first_fault, samples, packets, unfinished] = not_written;
  std::string text = Count(no_room, of) + " for a slow disk, " + Grouped(faults) + " for faults";
  if (samples > 0) text += ", " + Count(samples, "sample");
  if (packets > 0) text += ", " + Count(packets, "packet");
  if (unfinished) text += ", the end of the file";
  report.Add("frames_without_room", not_written.Any() ? "Not written" : "", no_room, text);
  report.Add("frames_with_fault", "", faults, "");
  report.Add("samples_not_written", "", samples, "");
  report.Add("packets_not_written", "", packets, "");
  report.Add("file_unfinished", "", unfinished, "");
}

}  // namespace orliq::cli
