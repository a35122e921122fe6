// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/live/LiveWatcher.h"

#include <algorithm>

#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/live/LiveFiles.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kStatusPause{1};
constexpr double kPatience = 3.0;  // [s] without a packet, before an audience is told why

}  // namespace

Silence SilenceOf(const LiveWishes& wishes, const lidar::DriverStatistics& packets,
                  double seconds) {
  return {wishes.listen.address,
          wishes.listen.port,
          seconds,
          &wishes.model,
          packets.received,
          packets.refused_length,
          packets.last_refused_length,
          wishes.choice.source,
          packets.other_source,
          SenderText(packets.first_sender)};
}

LiveWatcher::LiveWatcher(const LiveWishes& wishes, const LiveSource& source, const Console& console,
                         LiveAudience* audience)
    : wishes_(wishes),
      model_(wishes.model),
      source_(source),
      console_(console),
      audience_(audience),
      remarks_({&wishes.model, wishes.choice.source, wishes.upload}, console,
               [&source] { return source.Calibration(); }),
      time_(wishes.listen),
      line_(wishes.listen.quiet, kStatusPause) {}

void LiveWatcher::Look() {
  const CloudSaver::Losses not_written = counts_.not_written;
  counts_ = source_.Counts();
  now_ = time_.Seconds();
  const auto& packets = counts_.packets;
  if (packets.received > 0) last_ = now_ - packets.last_packet_age_s;
  if (packets.received > 0 && first_ < 0.0) {
    first_ = last_;
    by_first_look_ = packets.received;
  }
  const CloudSums& frames = counts_.frames;
  remarks_.Look({packets, frames.count + counts_.empty_frames, frames.non_zero}, now_);
  TellFirstFault(not_written, counts_.not_written, console_);
  if (audience_ == nullptr) return;
  audience_->Look({{{model_.name, {&model_, packets, frames.count}}}, SilenceText()});
}

/// Empty while packets come.
std::string LiveWatcher::SilenceText() const {
  const auto& packets = counts_.packets;
  if (packets.decoded == 0) {
    return now_ < kPatience ? "" : WhyNothingArrived(SilenceOf(wishes_, packets, now_), console_);
  }
  const double age = packets.last_packet_age_s;
  return age < kPatience ? "" : "nothing has arrived for " + Fixed(age, 0) + " s";
}

void LiveWatcher::Conclude() {
  Look();
  remarks_.Conclude();
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
  tally.refused_tables = remarks_.RefusedTables();
  Reception& reception = tally.reception;
  reception.seconds = now_;
  reception.active = std::max(0.0, last_ - first_);  // two looks round differently
  reception.packets = counts_.packets.received;
  const auto packets = static_cast<double>(reception.packets - by_first_look_);
  if (reception.active > 0.0) reception.packets_per_s = packets / reception.active;
  return tally;
}

void LiveWatcher::WarnOfNoFrame() {
  const std::uint64_t packets = counts_.packets.decoded;
  const bool any = counts_.frames.count + counts_.empty_frames + counts_.partial_points +
                       counts_.frames_before_tables >
                   0;
  if (any || packets == 0 || !model_.delivers_frames) return;
  console_.Note(NoFrameText(packets, model_));
}

}  // namespace orliq::cli
