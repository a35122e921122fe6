// SPDX-License-Identifier: Apache-2.0
#include "simulator/Pacer.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

namespace orliq::sim {
namespace {

/// Stands still unless somebody sleeps.
class TestClock final : public PaceClock {
 public:
  Time Now() override { return now; }
  void SleepUntil(Time moment) override { now = moment; }
  Time now = std::chrono::hours(1);
};

double Milliseconds(PaceClock::Time time) {
  return std::chrono::duration<double, std::milli>(time).count();
}

TEST(Pacer, LetsPacketsGoAtTheirMomentAndNeverBefore) {
  const struct {
    const char* why;
    double speed;
    double busy_ms;  // what the caller takes for each of the first two packets
    std::vector<double> recorded_ms;
    std::vector<double> expected_ms;
    double worst_delay_ms;
  } rows[] = {
      {"as recorded", 1, 0, {0, 100, 130}, {0, 100, 130}, 0},
      {"twice as fast", 2, 0, {0, 100, 130}, {0, 50, 65}, 0},
      {"work counts as waiting", 1, 60, {0, 100, 230}, {0, 100, 230}, 0},
      {"late ones go at once, up to the moment",
       1,
       160,
       {0, 100, 200, 320, 400, 500},
       {0, 160, 320, 320, 400, 500},
       120},
      {"hours without a packet take 2 s", 1, 0, {0, 7e6, 7e6 + 50}, {0, 2000, 2050}, 0},
      {"however fast", 10, 0, {0, 1e5, 1e5 + 50}, {0, 2000, 2005}, 0},
      {"the clock was set back", 1, 0, {9e6, 9e6 + 10, 1e6, 1e6 + 30}, {0, 10, 10, 40}, 0},
      {"neighbours overtook each other", 1, 0, {0, 10, 9, 20}, {0, 10, 10, 20}, 0},
  };
  for (const auto& row : rows) {
    TestClock clock;
    const auto start = clock.now;
    Pacer pacer(row.speed, clock, [] { return false; });
    for (std::size_t i = 0; i < row.recorded_ms.size(); ++i) {
      pacer.WaitUntilDue(1.7e9 + row.recorded_ms[i] * 1e-3);
      EXPECT_NEAR(Milliseconds(clock.now - start), row.expected_ms[i], 0.01) << row.why << i;
      if (i < 2) clock.now += std::chrono::microseconds(std::lround(row.busy_ms * 1e3));
    }
    EXPECT_NEAR(Milliseconds(pacer.WorstDelay()), row.worst_delay_ms, 0.01) << row.why;
  }
}

TEST(Pacer, EndsAWaitWhenAskedTo) {
  TestClock clock;
  const auto end = clock.now + std::chrono::milliseconds(300);
  Pacer pacer(1, clock, [&] { return clock.now >= end; });
  pacer.WaitUntilDue(0.0);
  pacer.WaitUntilDue(1.9);
  EXPECT_NEAR(Milliseconds(clock.now - end), 0.0, 60.0) << "asks some times a second";
}

}  // namespace
}  // namespace orliq::sim
