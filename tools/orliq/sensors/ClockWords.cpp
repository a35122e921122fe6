// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/ClockWords.h"

#include <cmath>

#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

constexpr double kTogether = 0.05;  // [s] half a frame of 10 Hz
constexpr double kTaiAhead = 37.0;  // [s] of UTC, since 2017
constexpr double kGpsAhead = 18.0;  // [s] likewise
constexpr double kNear = 0.5;  // [s] a difference between two kinds of time is met as near as that
constexpr double kQuarter = 900.0;               // [s] zones lie so far apart, or a multiple of it
constexpr double kFurthestZone = 14.0 * 3600.0;  // [s] from UTC
constexpr double kMinute = 60.0;                 // [s]
constexpr double kHour = 3600.0;
constexpr double kDay = 86400.0;
constexpr double kYear = 365.25 * kDay;

// An oscillator drifts by up to 100 ppm, beyond a thousand it is no clock. One that is kept in step
// drifts by less than the few ppm that the packets' way makes believe.
constexpr double kDriftShown = 5.0;    // [ppm]
constexpr double kOtherPace = 1000.0;  // [ppm]

/// "2.1 ms", "12.3 s", "5.2 h"
std::string TimeText(double seconds) {
  const double size = std::abs(seconds);
  if (size < 1.0) return Fixed(1e3 * size, 1) + " ms";
  if (size < 2 * kMinute) return Fixed(size, 1) + " s";
  if (size < 2 * kHour) return Fixed(size / kMinute, 1) + " min";
  if (size < 2 * kDay) return Fixed(size / kHour, 1) + " h";
  if (size < kYear) return Fixed(size / kDay, 1) + " days";
  return Fixed(size / kYear, 1) + " years";
}

const char* Direction(double offset) {
  return offset > 0.0 ? " behind" : " ahead";
}

std::string SpreadText(const lidar::ClockStatistics& clock) {
  return ", spread " + TimeText(clock.largest_s - clock.smallest_s);
}

/// Beyond what the way can explain: if the least offset of each second lay anywhere within the spread,
/// a line through those of n seconds would rise by spread / sqrt(n) by chance.
bool Drifts(const lidar::ClockStatistics& clock) {
  if (clock.drift_over_s <= 0.0 || std::abs(clock.drift_ppm) < kDriftShown) return false;
  const double rise = std::abs(clock.drift_ppm) * 1e-6 * clock.drift_over_s;
  const double spread = clock.largest_s - clock.smallest_s;
  return rise > 3.0 * spread / std::sqrt(clock.drift_over_s);
}

bool IsZone(double offset) {
  const double size = std::abs(offset);
  return size < kFurthestZone + kNear && size > kQuarter - kNear &&
         std::abs(std::remainder(size, kQuarter)) < kNear;
}

bool IsBy(double offset, double difference) {
  return std::abs(std::abs(offset) - difference) < kNear;
}

ClockRelation Relation(const lidar::ClockStatistics& clock, bool drifts) {
  const double offset = clock.smallest_s;
  if (drifts && std::abs(clock.drift_ppm) > kOtherPace) return ClockRelation::kOtherPace;
  if (std::abs(offset) < kTogether) return ClockRelation::kTogether;
  if (IsBy(offset, kTaiAhead)) return ClockRelation::kTai;
  if (IsBy(offset, kGpsAhead)) return ClockRelation::kGps;
  if (IsZone(offset)) return ClockRelation::kTimeZone;
  return std::abs(offset) < kYear ? ClockRelation::kApart : ClockRelation::kYears;
}

/// "37 s ahead: the sensor keeps TAI, this machine UTC, 2.1 ms besides"
std::string KindText(double offset, double difference, const std::string& kind) {
  const bool behind = offset > 0.0;
  return Fixed(difference, 0) + " s" + Direction(offset) + ": the sensor keeps " +
         (behind ? "UTC" : kind) + ", this machine " + (behind ? kind : "UTC") + ", " +
         TimeText(std::abs(offset) - difference) + " besides";
}

std::string ZoneText(double offset) {
  const auto quarters = static_cast<unsigned>(std::lround(std::abs(offset) / kQuarter));
  const std::string minutes = std::to_string(quarters % 4 * 15);
  return std::to_string(quarters / 4) + ':' + (minutes.size() < 2 ? "0" : "") + minutes + " h" +
         Direction(offset) + ", as time zones are: one of the two clocks keeps local time";
}

/// A recording that is replayed is behind by its age, and by nothing else.
std::string FarText(double offset) {
  const std::string text = TimeText(offset) + Direction(offset);
  if (offset < 0.0) return text + ": one of the two clocks is not set";
  return text + ": the sensor's clock is not set, or a recording is replayed";
}

/// The smallest offset still has the packet's way in it, so it tells which clock is ahead only when
/// it is below zero.
std::string NearText(const lidar::ClockStatistics& clock) {
  const double offset = clock.smallest_s;
  const bool by_the_way = offset >= 0.0 && offset < kTogether;
  return TimeText(offset) + (by_the_way ? " apart" : Direction(offset)) + SpreadText(clock);
}

std::string PaceText(double drift_ppm) {
  return "runs " + Fixed(1.0 - drift_ppm * 1e-6, 3) +
         " times as fast as this machine's: a recording is perhaps replayed";
}

std::string RelationText(ClockRelation relation, const lidar::ClockStatistics& clock) {
  const double offset = clock.smallest_s;
  switch (relation) {
    case ClockRelation::kNoTime:
      return "this model sends no time";
    case ClockRelation::kNoPacket:
      return "no packet yet";
    case ClockRelation::kTai:
      return KindText(offset, kTaiAhead, "TAI");
    case ClockRelation::kGps:
      return KindText(offset, kGpsAhead, "GPS time");
    case ClockRelation::kTimeZone:
      return ZoneText(offset);
    case ClockRelation::kOtherPace:
      return PaceText(clock.drift_ppm);
    case ClockRelation::kTogether:
    case ClockRelation::kApart:
    case ClockRelation::kYears:
      break;
  }
  return std::abs(offset) < 2 * kMinute ? NearText(clock) : FarText(offset);
}

/// An offset that grows is a clock that loses time.
std::string DriftText(double drift_ppm) {
  return "; drifting " + Fixed(std::abs(drift_ppm), 0) + " ppm (" +
         (drift_ppm > 0.0 ? "loses " : "gains ") + Fixed(std::abs(drift_ppm) * 1e-6 * kDay, 1) +
         " s a day)";
}

std::string JumpText(std::uint64_t jumps) {
  return "; jumped " + (jumps == 1 ? "once" : Count(jumps, "time")) + ", as when a clock is set";
}

}  // namespace

const char* ClockRelationKey(ClockRelation relation) {
  static constexpr const char* kKeys[] = {"no_time",   "no_packet", "together", "tai",       "gps",
                                          "time_zone", "apart",     "years",    "other_pace"};
  return kKeys[static_cast<std::size_t>(relation)];
}

bool ClockVerdict::IsFault() const {
  return drifts || jumped || relation > ClockRelation::kTogether;
}

ClockVerdict JudgeClock(const Model& model, const lidar::ClockStatistics& clock) {
  ClockVerdict verdict;
  const bool told = model.has_time && clock.packets > 0;
  verdict.drifts = told && Drifts(clock);
  verdict.jumped = told && clock.jumps > 0;
  verdict.relation = told             ? Relation(clock, verdict.drifts)
                     : model.has_time ? ClockRelation::kNoPacket
                                      : ClockRelation::kNoTime;
  verdict.text = RelationText(verdict.relation, clock);
  if (verdict.drifts && verdict.relation != ClockRelation::kOtherPace) {
    verdict.text += DriftText(clock.drift_ppm);
  }
  if (verdict.jumped) verdict.text += JumpText(clock.jumps);
  return verdict;
}

}  // namespace orliq::cli
