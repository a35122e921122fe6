// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/SensorRemarks.h"

#include <tuple>
#include <utility>

#include "orliq/capture/UdpRecord.h"
#include "orliq/network/HostNetwork.h"
#include "orliq/verbs/CommonRows.h"
#include "orliq/verbs/live/SensorRows.h"

namespace orliq::cli {
namespace {

constexpr std::uint64_t kDoubtfulFrames = 5;  // without a measured point, until a remark says so
constexpr double kDoubtfulSilence = 5.0;      // [s] without a piece of the calibration, likewise

}  // namespace

SensorRemarks::SensorRemarks(SensorWishes wishes, Remarks remarks, Calibration calibration)
    : wishes_(std::move(wishes)),
      remarks_(std::move(remarks)),
      calibration_(std::move(calibration)) {}

void SensorRemarks::Look(const SensorFacts& facts, double now) {
  if (facts.packets.upload.received_bytes != facts_.packets.upload.received_bytes) moved_ = now;
  facts_ = facts;
  WarnOfMixture();
  WarnOfNothing(kDoubtfulFrames);
  WarnOfHoles();
  WarnOfSilence(now);
  TellOfTables();
}

void SensorRemarks::Conclude() {
  WarnOfNothing(1);
}

void SensorRemarks::WarnOfMixture() {
  if (mixture_told_ || !wishes_.source.empty() || facts_.packets.of_other_senders == 0) return;
  mixture_told_ = true;
  remarks_.Note(MixedSendersText(facts_.packets, remarks_));
}

/// Empty frames are none that --frames counts: without a word the user would wait for ever.
void SensorRemarks::WarnOfNothing(std::uint64_t at_least) {
  if (nothing_told_ || facts_.frames < at_least) return;
  const std::string text = NothingMeasuredText(*wishes_.model, facts_.frames, facts_.non_zero);
  nothing_told_ = !text.empty();
  remarks_.Note(text);
}

void SensorRemarks::WarnOfHoles() {
  if (holes_told_ || !HasHoles(wishes_.upload, facts_.packets.upload)) return;
  holes_told_ = true;
  remarks_.Note(HolesText(wishes_.upload, facts_.packets.upload));
}

/// Frames without tables are none that --frames counts either. Said once while nothing has come,
/// and once of a stall.
void SensorRemarks::WarnOfSilence(double now) {
  const lidar::UploadStatistics& upload = facts_.packets.upload;
  const bool waits =
      upload.state == lidar::UploadState::Asking || upload.state == lidar::UploadState::Receiving;
  if (!waits || holes_told_ || silence_told_ == upload.state || now - moved_ < kDoubtfulSilence) {
    return;
  }
  silence_told_ = upload.state;
  remarks_.Note(StallText(wishes_.upload, upload, now - moved_));
}

void SensorRemarks::TellOfTables() {
  const lidar::UploadStatistics& upload = facts_.packets.upload;
  if (tables_told_ || upload.state != lidar::UploadState::InUse) return;
  tables_told_ = true;
  refused_tables_ = calibration_().refused;
  if (refused_tables_.empty()) remarks_.Note(InUseText(upload));
}

std::string MixedSendersText(const lidar::DriverStatistics& packets, const Remarks& remarks) {
  const auto& [first, other] = std::tie(packets.first_sender, packets.other_sender);
  const std::string both = SenderText(first) + " and " + SenderText(other) +
                           " both sent to this port: their packets are mixed in the frames. ";
  if (first.address == other.address) {
    return both + "Let one of them send to another port, unless it is the same sensor, restarted";
  }
  return both + remarks.Setting("source") + ' ' + DottedAddress(first.address) +
         " takes the first one only";
}

std::string NoFrameText(std::uint64_t packets, const Model& model) {
  return "no frame has ended in " + Count(packets, "packet") +
         ": they are too few, or perhaps not of " + model.name +
         " (orliq info tells what recorded ones look like)";
}

void ExplainLosses(const lidar::DriverStatistics& packets, std::uint32_t socket_buffer,
                   const Console& console) {
  if (packets.dropped_by_kernel > 0) {
    console.Note(socket_buffer == 0 ? BufferAdvice(packets.socket_buffer_bytes)
                                    : "the system dropped packets from the receive buffer that "
                                      "--socket-buffer asked for: without it a larger one is asked "
                                      "for");
  }
  if (packets.refused_length + packets.refused_identifier > 0) {
    console.Note(
        "packets of other kinds came to the port: orliq record keeps them, and orliq info "
        "then tells who sent them");
  }
}

}  // namespace orliq::cli
