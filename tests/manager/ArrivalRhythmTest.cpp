// SPDX-License-Identifier: Apache-2.0
#include "manager/ArrivalRhythm.h"

#include <gtest/gtest.h>

namespace orliq::lidar {
namespace {

using std::chrono::microseconds;
using std::chrono::nanoseconds;

constexpr std::uint64_t kMs = 1'000'000;  // [ns]
constexpr nanoseconds kNone{0};

/// Notes a bound after so long, with `packets` before it that came together; returns its time.
std::uint64_t EndFrame(ArrivalRhythm& rhythm, std::uint64_t begin_ns, std::uint64_t ms,
                       std::size_t packets) {
  rhythm.Note(begin_ns + ms * kMs / 2, packets - 1, false);
  rhythm.Note(begin_ns + ms * kMs, 1, true);
  return begin_ns + ms * kMs;
}

TEST(ArrivalRhythm, PausesWithinAFrameUntilItsEndIsNear) {
  const struct {
    std::uint64_t frame_ms;
    std::size_t packets;
    nanoseconds pause;
  } rows[] = {{100, 768, microseconds(2000)},  // 16 packets would take longer
              {40, 1600, microseconds(400)},
              {100, 200, microseconds(2000)},  // four packets
              {100, 199, kNone}};
  for (const auto& row : rows) {
    ArrivalRhythm rhythm;
    std::uint64_t now = EndFrame(rhythm, 1000 * kMs, 250, row.packets);  // of a frame under way
    EXPECT_EQ(rhythm.Pause(now), kNone);
    now = EndFrame(rhythm, now, row.frame_ms, row.packets);
    EXPECT_EQ(rhythm.Pause(now), kNone) << "one frame may have been two";
    now = EndFrame(rhythm, now, row.frame_ms, row.packets);
    EXPECT_EQ(rhythm.Pause(now), row.pause);
    const std::uint64_t watched =
        now + row.frame_ms * kMs * 7 / 8 - static_cast<std::uint64_t>(row.pause.count());
    rhythm.Note(watched, row.packets, false);  // none lags behind
    EXPECT_EQ(rhythm.Pause(watched), row.pause);
    EXPECT_EQ(rhythm.Pause(watched + 1), kNone);
    EXPECT_EQ(rhythm.Pause(now + 2 * row.frame_ms * kMs), kNone) << "overdue";
    now = EndFrame(rhythm, now, 2 * row.frame_ms, 2 * row.packets);  // a bound was lost
    rhythm.Note(now, row.packets, false);
    EXPECT_EQ(rhythm.Pause(watched + 2 * row.frame_ms * kMs + 1), kNone);
    EXPECT_EQ(rhythm.Pause(now), row.pause);
  }
}

TEST(ArrivalRhythm, TakesWhatWasHeldUpAsItComes) {
  ArrivalRhythm rhythm;
  std::uint64_t now = 1000 * kMs;
  for (int ms = 0; ms <= 200; ++ms) rhythm.Note(now += kMs, 8, ms % 100 == 0);
  now += 5 * kMs;
  rhythm.Note(now, 8, false);  // as many as lag behind in a steady flow
  EXPECT_EQ(rhythm.Pause(now), microseconds(2000));
  EXPECT_EQ(rhythm.Pause(now + 125'000), kNone);
  rhythm.Note(now, 32, false);
  EXPECT_EQ(rhythm.Pause(now), microseconds(2000)) << "here they are";
}

TEST(ArrivalRhythm, LetsDensePacketsGatherAnywhere) {
  ArrivalRhythm rhythm;
  rhythm.Note(1000 * kMs, 1, false);
  rhythm.Note(1000 * kMs + 9'999, 2, false);
  EXPECT_EQ(rhythm.Pause(1000 * kMs + 9'999), microseconds(50));
  rhythm.Note(1000 * kMs + 19'999, 2, false);
  EXPECT_EQ(rhythm.Pause(1000 * kMs + 19'999), kNone);
  rhythm.Note(1000 * kMs + 20'000, 32, false);
  EXPECT_EQ(rhythm.Pause(1000 * kMs + 20'000), kNone) << "they gather anyway";
}

}  // namespace
}  // namespace orliq::lidar
