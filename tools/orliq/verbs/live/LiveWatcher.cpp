// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/LiveWatcher.h"

#include "orliq/terminal/Interrupt.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kStatusPause{1};
constexpr std::uint64_t kDoubtfulFrames = 5;  // without a measured point, until a remark says so
constexpr double kDoubtfulSilence = 5.0;      // [s] without a piece of the calibration, likewise

}  // namespace

LiveWatcher::LiveWatcher(const LiveWishes& wishes, const LiveSource& source, const Console& console)
    : wishes_(wishes),
      source_(source),
      console_(console),
      time_(wishes.listen),
      line_(wishes.listen.quiet, kStatusPause) {}

void LiveWatcher::Look() {
  const std::uint64_t uploaded = counts_.packets.upload.received_bytes;
  counts_ = source_.Counts();
  now_ = time_.Seconds();
  if (counts_.packets.upload.received_bytes != uploaded) moved_ = now_;
  const auto& packets = counts_.packets;
  if (packets.received > 0) last_ = now_ - packets.last_packet_age_s;
  if (packets.received > 0 && first_ < 0.0) {
    first_ = last_;
    by_first_look_ = packets.received;
  }
  WarnOfMixture();
  WarnOfFault();
  WarnOfNothing(kDoubtfulFrames);
  WarnOfHoles();
  WarnOfSilence();
  TellOfTables();
}

void LiveWatcher::Conclude() {
  Look();
  WarnOfNothing(1);
  WarnOfNoFrame();
}

void LiveWatcher::Show() {
  if (!line_.Due()) return;
  line_.Show(LiveStatusText(shown_, counts_, now_ - shown_at_));
  shown_ = counts_;
  shown_at_ = now_;
}

LiveTally LiveWatcher::Tally() const {
  LiveTally tally;
  tally.counts = counts_;
  tally.interrupted = InterruptRequested() && !Over();
  tally.refused_tables = refused_tables_;
  Reception& reception = tally.reception;
  reception.seconds = now_;
  reception.active = last_ - first_;
  reception.packets = counts_.packets.received;
  const auto packets = static_cast<double>(reception.packets - by_first_look_);
  if (reception.active > 0.0) reception.packets_per_s = packets / reception.active;
  return tally;
}

void LiveWatcher::WarnOfMixture() {
  const bool any_sender = wishes_.choice.source.empty();
  if (warned_ || !any_sender || counts_.packets.of_other_senders == 0) return;
  warned_ = true;
  console_.Note(MixedSendersText(counts_.packets));
}

void LiveWatcher::WarnOfFault() {
  if (fault_told_ || counts_.not_written.faults == 0) return;
  fault_told_ = true;
  console_.Note(counts_.not_written.first_fault);
}

/// Empty frames are none that --frames counts: without a word the user would wait for ever.
void LiveWatcher::WarnOfNothing(std::uint64_t at_least) {
  const std::uint64_t clouds = counts_.frames + counts_.empty_frames;
  if (nothing_told_ || clouds < at_least) return;
  const std::string text = NothingMeasuredText(wishes_.model, clouds, counts_.non_zero);
  nothing_told_ = !text.empty();
  console_.Note(text);
}

void LiveWatcher::WarnOfNoFrame() {
  const std::uint64_t packets = counts_.packets.decoded;
  const bool any = counts_.frames + counts_.empty_frames + counts_.partial_points +
                       counts_.frames_before_tables >
                   0;
  const Model& model = wishes_.model;
  if (any || packets == 0 || !model.delivers_frames) return;
  console_.Note("no frame has ended in " + Count(packets, "packet") +
                ": they are too few, or perhaps not of " + model.name +
                " (orliq info tells what recorded ones look like)");
}

void LiveWatcher::WarnOfHoles() {
  if (holes_told_ || !HasHoles(wishes_.upload, counts_.packets.upload)) return;
  holes_told_ = true;
  console_.Note(HolesText(wishes_.upload, counts_.packets.upload));
}

/// Frames without tables are none that --frames counts either. Said once while nothing has come, and
/// once of a stall.
void LiveWatcher::WarnOfSilence() {
  const lidar::UploadStatistics& upload = counts_.packets.upload;
  const bool waits =
      upload.state == lidar::UploadState::Asking || upload.state == lidar::UploadState::Receiving;
  if (!waits || holes_told_ || silence_told_ == upload.state || now_ - moved_ < kDoubtfulSilence) {
    return;
  }
  silence_told_ = upload.state;
  console_.Note(StallText(wishes_.upload, upload, now_ - moved_));
}

void LiveWatcher::TellOfTables() {
  const lidar::UploadStatistics& upload = counts_.packets.upload;
  if (tables_told_ || upload.state != lidar::UploadState::InUse) return;
  tables_told_ = true;
  refused_tables_ = source_.Calibration().refused;
  if (refused_tables_.empty()) console_.Note(InUseText(upload));
}

}  // namespace orliq::cli
