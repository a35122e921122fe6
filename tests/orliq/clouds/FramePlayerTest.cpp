// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/FramePlayer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "support/CaptureBuilder.h"
#include "support/Playback.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using Cloud = PointCloud<Point>;

/// A capture without a frame mark is one frame, which the driver closes by force again and again.
TEST(FramePlayer, HoldsFewCloudsHoweverManyOneRequestGives) {
  constexpr std::size_t kClouds = 12;
  const test::TempDir dir;
  test::CaptureBuilder capture;
  for (std::size_t i = 0; i < kClouds * 1563; ++i) capture.Udp(test::JuniqPacket());
  capture.Udp(test::Bytes(10));  // reported when it is indexed and when the driver plays it
  const auto param = test::Playback<Point>::Param(capture.Write(dir / "c.pcap"));
  FramePlayer<Cloud> player;
  ASSERT_TRUE(player.Open(param, ""));
  ASSERT_EQ(player.WaitForIndex(), 1);
  std::vector<std::weak_ptr<Cloud>> clouds;
  std::size_t points = 0;
  const auto take = [&](const FramePlayer<Cloud>::Frame& frame) {
    if (clouds.empty()) {
      const auto end = std::chrono::steady_clock::now() + std::chrono::milliseconds(300);
      while (std::chrono::steady_clock::now() < end && player.Faults()[0x41] < 2) {
        std::this_thread::yield();
      }
      EXPECT_EQ(player.Faults()[0x41], 1U) << "the driver waits while its clouds are worked on";
    }
    clouds.push_back(frame.cloud);
    points += frame.cloud->points.size();
    const auto held = std::count_if(clouds.begin(), clouds.end(),
                                    [](const auto& cloud) { return !cloud.expired(); });
    EXPECT_LE(held, 4);
  };
  test::MustEnd("the player", [&] { EXPECT_TRUE(player.Play(0, 1, take)); });
  EXPECT_EQ(points, kClouds * 1563 * 64) << "and loses none";
}

}  // namespace
}  // namespace orliq::cli
