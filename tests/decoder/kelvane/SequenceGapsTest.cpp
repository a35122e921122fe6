// SPDX-License-Identifier: Apache-2.0
#include "decoder/kelvane/SequenceGaps.h"

#include <gtest/gtest.h>

#include <vector>

namespace orliq::lidar {
namespace {

constexpr int kJump = -1;

/// Places `first` to `last`, and then others.
std::vector<int> Places(int first, int last, const std::vector<int>& then = {}) {
  std::vector<int> places;
  for (int place = first; place <= last; ++place) places.push_back(place);
  places.insert(places.end(), then.begin(), then.end());
  return places;
}

TEST(SequenceGaps, CountPacketsThatDidNotCome) {
  const struct {
    std::vector<int> places;
    unsigned skipped;
    const char* why;
  } rows[] = {
      {Places(0, 99), 0, "nothing is missing"},
      {Places(700, 799), 0, "what was before the first packet ever is not lost"},
      {{5, 8}, 2, "a gap"},
      {{0, 500}, 499, "an outage"},
      {{0, 2, 1, 3}, 0, "overtaken by one"},
      {{6, 17, 7}, 9, "overtaken by ten"},
      {{6, 18, 7}, 18, "farther behind: the eighth of a new frame"},
      {{5, 8, 8, 8}, 2, "the latest again fills no gap"},
      {{5, 8, 5}, 1, "an earlier one again hides a lost one"},
      {{5, 4, 3}, 0, "late, but nothing was missed"},
      {Places(0, 99, {0, 1}), 0, "the next frame"},
      {Places(0, 99, {3, 4}), 3, "its beginning is lost"},
      {Places(0, 99, {0, 100, 1, 2}), 0,
       "its first packet has overtaken the last of the frame before"},
      {Places(0, 97, {99, 0, 98, 1}), 0, "likewise, one that was missed"},
      {Places(0, 99, {0, 109, 1}), 0, "as far behind as may be"},
      {Places(0, 99, {0, 110, 111}), 109, "farther: an outage"},
      {Places(0, 99, {10, 105}), 104, "not after the eleventh place"},
      {{65530, 65535, 0, 1}, 4, "the last of all places"},
      {Places(0, 99, {kJump, 700, 702}), 1, "read from elsewhere"},
      {Places(0, 99, {0, kJump, 1, 105}), 103, "no frame is before then"},
  };
  for (const auto& row : rows) {
    SequenceGaps gaps;
    for (const int place : row.places) {
      if (place == kJump) {
        gaps.NoteJump();
      } else {
        gaps.Take(static_cast<std::uint16_t>(place));
      }
    }
    EXPECT_EQ(gaps.Skipped(), row.skipped) << row.why;
  }
}

}  // namespace
}  // namespace orliq::lidar
