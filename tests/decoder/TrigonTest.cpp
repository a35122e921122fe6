// SPDX-License-Identifier: Apache-2.0
#include "decoder/Trigon.h"

#include <gtest/gtest.h>

#include <climits>
#include <cmath>

namespace orliq::lidar {
namespace {

TEST(Trigon, EveryEntryIsTheFloatOfTheDoubleFunction) {
  const Trigon trigon;
  EXPECT_EQ(trigon.Sin(-18000), -1.2246469e-16F);
  EXPECT_EQ(trigon.Cos(-18000), -1.0F);
  for (int angle = -17999; angle < 45000; ++angle) {
    const double radians = angle * 0.01 * 3.141592653589793 / 180.0;
    ASSERT_EQ(trigon.Sin(angle), static_cast<float>(std::sin(radians))) << angle;
    ASSERT_EQ(trigon.Cos(angle), static_cast<float>(std::cos(radians))) << angle;
  }
}

TEST(Trigon, KnowsWhichAnglesItHolds) {
  for (const int held : {-18000, 44999}) EXPECT_TRUE(Trigon::Holds(held));
  for (const int beyond : {-18001, 45000, INT_MAX, INT_MIN}) EXPECT_FALSE(Trigon::Holds(beyond));
}

}  // namespace
}  // namespace orliq::lidar
