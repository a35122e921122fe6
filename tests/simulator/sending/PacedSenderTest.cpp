// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/PacedSender.h"

#include <gtest/gtest.h>

#include <cmath>
#include <vector>

#include "support/Loopback.h"

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
      {"late ones go at once", 1, 160, {0, 100, 200, 320, 400}, {0, 160, 320, 320, 400}, 120},
      {"hours without a packet take 2 s", 1, 0, {0, 7e6, 7e6 + 50}, {0, 2000, 2050}, 0},
      {"they count as 2 s at any speed", 10, 0, {0, 15e3, 15050}, {0, 200, 205}, 0},
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

TEST(Pacer, OfACommonStartCountsFromItWhateverPacketComesFirst) {
  TestClock clock;
  const auto start = clock.now + std::chrono::milliseconds(5);
  Pacer pacer(2, clock, [] { return false; });
  pacer.Start(1.7e9, start);
  EXPECT_NEAR(Milliseconds(pacer.Due(1.7e9 + 0.1) - start), 50, 0.01);
}

TEST(PacedSender, SendsABurstWhenTheLastOfItIsDue) {
  const test::LoopbackSocket receiver;
  std::string error;
  const auto sender = UdpSender::Create("127.0.0.1", receiver.port(), error);
  ASSERT_TRUE(sender) << error;
  TestClock clock;
  const auto start = clock.now;
  Pacer pacer(1, clock, [] { return false; });
  PacedSender paced(*sender, pacer, 2);
  const std::uint64_t sent[] = {0, 2, 2, 4, 4};
  for (std::uint8_t i = 0; i < 5; ++i) {
    paced.Add(&i, 1, 0.01 * i);
    EXPECT_EQ(sender->Datagrams(), sent[i]);
  }
  EXPECT_NEAR(Milliseconds(clock.now - start), 30, 0.01);
  paced.Finish();
  EXPECT_NEAR(Milliseconds(clock.now - start), 40, 0.01);
  EXPECT_EQ(sender->Datagrams(), 5U);
  EXPECT_NEAR(paced.Rate(), 100.0, 0.1) << "3 packets in the 30 ms after the first burst";
}

}  // namespace
}  // namespace orliq::sim
