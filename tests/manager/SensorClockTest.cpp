// SPDX-License-Identifier: Apache-2.0
#include "manager/SensorClock.h"

#include <gtest/gtest.h>

namespace orliq::lidar {
namespace {

constexpr std::uint64_t kStart = 1'700'000'000'000'000'000;  // [ns]

/// Ten packets a second, each `way_us` after it was sent, of a clock that is `behind` and drifts.
void Tick(SensorClock& clock, int seconds, double behind, double ppm,
          const std::function<double(int)>& way_us) {
  for (int i = 0; i < seconds * 10; ++i) {
    const std::uint64_t sent_ns = static_cast<std::uint64_t>(i) * 100'000'000;
    const std::uint64_t sent_us = (kStart + sent_ns) / 1000;
    const double told = static_cast<double>(sent_us) * 1e-6 - behind -
                        static_cast<double>(sent_ns) * 1e-9 * ppm * 1e-6;
    clock.Note(kStart + sent_ns + static_cast<std::uint64_t>(way_us(i) * 1e3), told);
  }
}

TEST(SensorClock, TellsOffsetSpreadAndDrift) {
  const struct {
    const char* what;
    double behind, ppm;
  } rows[] = {{"near", 0.002, 0.0},
              {"atomic time", -37.0, 0.0},
              {"never set", 1.7e9, 0.0},
              {"slow", 0.1, 40.0},
              {"fast", 0.1, -40.0}};
  for (const auto& row : rows) {
    SensorClock clock;
    Tick(clock, 80, row.behind, row.ppm, [](int i) { return i % 10 == 3 ? 50.0 : 2050.0; });
    const ClockStatistics s = clock.Count();
    const double by_then = row.behind + 79.9 * row.ppm * 1e-6;
    EXPECT_EQ(s.packets, 800U);
    EXPECT_NEAR(s.latest_s, by_then + 2050e-6, 3e-6) << row.what;
    EXPECT_NEAR(s.largest_s - s.smallest_s, 0.002, 400e-6) << row.what;
    EXPECT_NEAR(s.smallest_s, by_then + 50e-6 - (row.ppm > 0 ? 9.6 * 40e-6 : 0.6 * row.ppm * 1e-6),
                3e-6)
        << row.what << ": of the last ten seconds";
    EXPECT_NEAR(s.drift_ppm, row.ppm, 0.5) << row.what;
    EXPECT_EQ(s.drift_over_s, 58.0) << "of whole seconds of the last minute";
    EXPECT_EQ(s.jumps, 0U);
  }
}

TEST(SensorClock, BeginsAnewWhenAClockIsSet) {
  SensorClock clock;
  EXPECT_EQ(clock.Count().packets, 0U);
  Tick(clock, 11, 0.0, 40.0, [](int) { return 0.0; });
  EXPECT_EQ(clock.Count().drift_over_s, 0.0) << "nine whole seconds are too few";
  clock.Note(kStart + 11'000'000'000, 1'700'000'012.0);
  clock.Note(kStart + 12'000'000'000, 1'700'000'011.0);
  const ClockStatistics s = clock.Count();
  EXPECT_EQ(s.jumps, 2U) << "one forwards, one back";
  EXPECT_TRUE(s.smallest_s == 1.0 && s.largest_s == 1.0 && s.drift_over_s == 0.0);
}

}  // namespace
}  // namespace orliq::lidar
