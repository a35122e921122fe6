// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/FramePlayer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "orliq/sensors/Models.h"
#include "support/CaptureBuilder.h"
#include "support/Playback.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using Cloud = PointCloud<Point>;

/// A driver on its own gives 192 points, then the rest of the Corvik's first frame, and each later
/// Kelvane frame the first packet of which stands in the cloud already.
TEST(FramePlayer, GivesAFrameOnceAndWholeWhateverWasPlayedBefore) {
  const struct {
    const char* model;
    unsigned packets;                 // of a frame, numbered at the offset
    std::size_t offset;               // of the number
    std::vector<std::size_t> points;  // of the frames
  } rows[] = {{"kelvane", 20, 5, {20 * 260, 20 * 260, 20 * 260}},
              {"corvik", 56, 24, {57 * 192, 57 * 192 - 1, 56 * 192 - 1}}};
  for (const auto& row : rows) {
    const Model& model = *lidar::FindSensorModel(row.model);
    test::CaptureBuilder capture;
    for (unsigned i = 0; i < 3 * row.packets; ++i) {
      test::Bytes packet(model.packet_bytes);
      std::copy_n(model.identifier.begin(), model.identifier_bytes, packet.begin());
      packet[row.offset] = static_cast<std::uint8_t>(1 + i % row.packets);
      capture.Udp(packet);
    }
    const test::TempDir dir;
    auto param = test::Playback<Point>::Param(capture.Write(dir / "c.pcap"), "", model.type);
    for (const int first : {0, 1}) {
      FramePlayer<Cloud> player(model.frame_mark);
      ASSERT_TRUE(player.Open(param, ""));
      ASSERT_EQ(player.WaitForIndex(), 3);
      std::vector<std::size_t> points(row.points.begin(), row.points.begin() + first);
      test::MustEnd("the player", [&] {
        player.Play(first, 3, [&](const FramePlayer<Cloud>::Frame& frame) {
          EXPECT_EQ(frame.early_points.has_value(), frame.entry == first) << row.model;
          points.push_back(frame.cloud->points.size());
        });
      });
      EXPECT_EQ(points, row.points) << row.model << " from frame " << first;
    }
  }
}

}  // namespace
}  // namespace orliq::cli
