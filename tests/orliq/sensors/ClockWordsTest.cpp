// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/ClockWords.h"

#include <gtest/gtest.h>

namespace orliq::cli {
namespace {

using R = ClockRelation;

/// Of `smallest` and `spread` [s] without a drift.
lidar::ClockStatistics Offset(double smallest, double spread = 0.0004) {
  return {9, smallest, smallest, smallest + spread, 0.0, 0.0, 0};
}

TEST(ClockWords, SayByWhatTwoClocksDiffer) {
  const double year = 365.25 * 86400;
  const struct {
    double offset;
    R relation;
    const char* text;
  } rows[] = {
      {0.0021, R::kTogether, "2.1 ms apart, spread 0.4 ms"},
      {-0.0021, R::kTogether, "2.1 ms ahead, spread 0.4 ms"},
      {0.0499, R::kTogether, "49.9 ms apart, spread 0.4 ms"},
      {0.0501, R::kApart, "50.1 ms behind, spread 0.4 ms"},
      {-0.0501, R::kApart, "50.1 ms ahead, spread 0.4 ms"},
      {-36.998, R::kTai, "37 s ahead: the sensor keeps TAI, this machine UTC, 2.0 ms besides"},
      {37.002, R::kTai, "37 s behind: the sensor keeps UTC, this machine TAI, 2.0 ms besides"},
      {-36.49, R::kApart, "36.5 s ahead, spread 0.4 ms"},
      {-37.51, R::kApart, "37.5 s ahead, spread 0.4 ms"},
      {-18.4, R::kGps, "18 s ahead: the sensor keeps GPS time, this machine UTC, 400.0 ms besides"},
      {-17.4, R::kApart, "17.4 s ahead, spread 0.4 ms"},
      {-7200.4, R::kTimeZone,
       "2:00 h ahead, as time zones are: one of the two clocks keeps local time"},
      {5 * 3600 + 2700.1, R::kTimeZone,
       "5:45 h behind, as time zones are: one of the two clocks keeps local time"},
      {-7200.6, R::kApart, "2.0 h ahead: one of the two clocks is not set"},
      {14.25 * 3600, R::kApart,
       "14.2 h behind: the sensor's clock is not set, or a recording is replayed"},
      {0.99 * year, R::kApart,
       "361.6 days behind: the sensor's clock is not set, or a recording is replayed"},
      {56.5 * year, R::kYears,
       "56.5 years behind: the sensor's clock is not set, or a recording is replayed"},
      {-2 * year, R::kYears, "2.0 years ahead: one of the two clocks is not set"}};
  for (const auto& row : rows) {
    const ClockVerdict verdict = JudgeClock(KnownModel("juniq"), Offset(row.offset));
    EXPECT_EQ(verdict.text, row.text);
    EXPECT_EQ(ClockRelationKey(verdict.relation), std::string(ClockRelationKey(row.relation)));
    EXPECT_EQ(verdict.IsFault(), row.relation != R::kTogether) << row.text;
  }
  EXPECT_EQ(JudgeClock(KnownModel("glavor"), {}).text, "this model sends no time");
  EXPECT_EQ(JudgeClock(KnownModel("juniq"), {}).text, "no packet yet");
  EXPECT_FALSE(JudgeClock(KnownModel("juniq"), {}).IsFault());
}

TEST(ClockWords, NameADriftThatTheWayCannotExplainAndJumps) {
  const struct {
    double spread_s, ppm, over_s;
    std::uint64_t jumps;
    const char* text;
  } rows[] = {
      {0.002, 40.0, 58.0, 0, "2.1 ms apart, spread 2.0 ms; drifting 40 ppm (loses 3.5 s a day)"},
      {0.002, -40.0, 58.0, 0, "2.1 ms apart, spread 2.0 ms; drifting 40 ppm (gains 3.5 s a day)"},
      {0.002, 13.0, 58.0, 0, "2.1 ms apart, spread 2.0 ms"},  // 0.79 ms make 13.6 ppm
      {0.002, 14.0, 58.0, 0, "2.1 ms apart, spread 2.0 ms; drifting 14 ppm (loses 1.2 s a day)"},
      {0.002, 40.0, 16.0, 0, "2.1 ms apart, spread 2.0 ms"},  // 1.5 ms: 94 ppm
      {0.0, 4.9, 58.0, 0, "2.1 ms apart, spread 0.0 ms"},
      {0.0, 40.0, 0.0, 0, "2.1 ms apart, spread 0.0 ms"},  // too few seconds to tell
      {10.0, -1e6, 10.0, 0,
       "runs 2.000 times as fast as this machine's: a recording is perhaps replayed"},
      {0.0, 0.0, 0.0, 1, "2.1 ms apart, spread 0.0 ms; jumped once, as when a clock is set"},
      {0.0, 0.0, 0.0, 3, "2.1 ms apart, spread 0.0 ms; jumped 3 times, as when a clock is set"}};
  for (const auto& row : rows) {
    lidar::ClockStatistics clock = Offset(0.0021, row.spread_s);
    clock.drift_ppm = row.ppm;
    clock.drift_over_s = row.over_s;
    clock.jumps = row.jumps;
    const ClockVerdict verdict = JudgeClock(KnownModel("juniq"), clock);
    EXPECT_EQ(verdict.text, row.text);
    EXPECT_EQ(verdict.IsFault(), verdict.text.size() > 28) << row.text;
  }
}

}  // namespace
}  // namespace orliq::cli
