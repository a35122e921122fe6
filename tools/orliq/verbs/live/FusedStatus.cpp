// SPDX-License-Identifier: Apache-2.0
#include <algorithm>

#include "orliq/verbs/live/FusedTally.h"
#include "orliq/verbs/params/UploadRemarks.h"

namespace orliq::cli {
namespace {

constexpr std::uint64_t kBehind = 500;  // [packets] that wait: decoding does not keep up

std::string RateText(std::uint64_t from, std::uint64_t to, double seconds) {
  return Fixed(seconds > 0.0 ? static_cast<double>(to - from) / seconds : 0.0, 1);
}

std::string HoldUpWord(HoldUp hold_up, const lidar::DriverStatistics& packets) {
  switch (hold_up) {
    case HoldUp::kSilent:
      return "silent";
    case HoldUp::kRefused:
      return "refused";
    case HoldUp::kNoFrame:
      return "no frame";
    case HoldUp::kStalled:
      return "gone " + Fixed(packets.last_packet_age_s, 0) + 's';
    case HoldUp::kNone:
      break;
  }
  return {};
}

/// What is wrong with a sensor; or nothing.
std::string TroubleText(HoldUp hold_up, const SensorCounts& before, const SensorCounts& now) {
  const lidar::DriverStatistics& packets = now.packets;
  std::string text = HoldUpWord(hold_up, packets);
  const auto add = [&text](const std::string& words) { text += (text.empty() ? "" : " ") + words; };
  const auto count = [&add](const char* name, std::uint64_t number) {
    if (number > 0) add(std::string(name) + ':' + std::to_string(number));
  };
  if (LacksTables(packets)) add("tables " + UploadShare(packets.upload));
  count("lost", packets.dropped_by_kernel + packets.dropped_by_limit);
  count("refused", packets.refused_length + packets.refused_identifier);
  if (packets.queued >= kBehind && before.packets.queued >= kBehind) count("queue", packets.queued);
  return text;
}

std::string CloudText(const FusedMoment& before, const FusedMoment& now) {
  const FusedCounts& counts = now.counts;
  const std::uint64_t not_written = counts.not_written.Count();
  return RateText(before.counts.clouds.count, counts.clouds.count, now.at - before.at) +
         " clouds/s " + std::to_string(counts.clouds.last_points) + " pts skew " +
         Fixed(1e3 * counts.last_skew_s, 0) + " ms" +
         (not_written > 0 ? " unwritten:" + std::to_string(not_written) : "");
}

std::string Joined(const std::vector<std::string>& texts, std::size_t count) {
  std::string line;
  for (std::size_t i = 0; i < count; ++i) line += " | " + texts[i];
  return line;
}

/// " | 6 more fine"; or nothing for none.
std::string NotShown(std::size_t count, const std::string& kind) {
  return count == 0 ? "" : " | " + std::to_string(count) + ' ' + kind;
}

struct SensorTexts {
  std::vector<std::string> all, troubled;
};

SensorTexts TextsOfSensors(const SensorFile& file, const FusedMoment& before,
                           const FusedMoment& now) {
  SensorTexts texts;
  for (std::size_t i = 0; i < file.sensors.size(); ++i) {
    const SensorCounts& was = before.counts.sensors[i];
    const SensorCounts& is = now.counts.sensors[i];
    const std::string trouble = TroubleText(now.hold_ups[i], was, is);
    const bool waits = is.waits && is.ended == was.ended;
    const std::string rate =
        waits ? "waits" : RateText(was.ended, is.ended, now.at - before.at) + " fps";
    texts.all.push_back(file.sensors[i].name + ' ' + (trouble.empty() ? rate : trouble));
    if (!trouble.empty()) texts.troubled.push_back(texts.all.back());
  }
  return texts;
}

}  // namespace

std::string FusedStatusText(const SensorFile& file, const FusedMoment& before,
                            const FusedMoment& now, std::size_t width) {
  const std::string clouds = CloudText(before, now);
  const auto& [all, troubled] = TextsOfSensors(file, before, now);
  std::string line = clouds + Joined(all, all.size());
  for (std::size_t shown = troubled.size() + 1; line.size() > width && shown-- > 0;) {
    const std::string more = shown > 0 ? "more " : "";
    line = clouds + Joined(troubled, shown) +
           NotShown(troubled.size() - shown, more + "in trouble") +
           NotShown(all.size() - troubled.size(), more + "fine");
  }
  return line;
}

}  // namespace orliq::cli
