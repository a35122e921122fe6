// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/FramePlayer.h"

#include <gtest/gtest.h>

#include <algorithm>

#include "orliq/sensors/Models.h"
#include "support/CaptureBuilder.h"
#include "support/Playback.h"
#include "support/TempDir.h"
#include "support/TickingClock.h"

namespace orliq::cli {
namespace {

using Cloud = PointCloud<Point>;

/// A driver on its own gives the first frame in two clouds, or nothing but the first of them when the
/// capture's first packet is refused, or with the next one in it when the capture ends just behind a
/// mark; and each later Kelvane frame with its first packet twice.
TEST(FramePlayer, GivesAFrameOnceAndWholeWhateverWasPlayedBefore) {
  const struct {
    const char* model;
    int packets, offset;              // of a frame, and of the number in each
    int begin, end, refused;          // packets from the first frame's start; of them, the first
    std::vector<std::size_t> points;  // of the frames
    std::optional<std::size_t> extra[2];  // ahead of the first that is played: frame 0, 1
  } rows[] = {{"kelvane", 40, 5, 0, 120, 1, {39 * 260, 40 * 260, 40 * 260}, {}},
              {"kelvane", 40, 5, 20, 85, 0, {20 * 260, 40 * 260, 5 * 260}, {}},
              {"corvik", 56, 24, 0, 168, 0, {57 * 192, 57 * 192 - 1, 56 * 192 - 1}, {}},
              {"corvik", 56, 24, 0, 112, 1, {56 * 192, 56 * 192 - 1}, {{}, 191}},
              {"corvik", 56, 24, 0, 56, 0, {56 * 192}, {192}}};
  const test::TickingClock clock;
  for (const auto& row : rows) {
    const Model& model = *lidar::FindSensorModel(row.model);
    test::CaptureBuilder capture;
    for (int i = row.begin; i < row.end; ++i) {
      test::Bytes packet(model.packet_bytes);
      std::copy_n(model.identifier.begin(), model.identifier_bytes, packet.begin());
      if (row.refused != 0 && i == 0) packet[0] = 0;
      packet[static_cast<std::size_t>(row.offset)] = static_cast<std::uint8_t>(1 + i % row.packets);
      capture.Udp(packet);
    }
    const test::TempDir dir;
    auto param = test::Playback<Point>::Param(capture.Write(dir / "c.pcap"), "", model.type);
    const auto frames = static_cast<int>(row.points.size());
    for (int first = 0; first < std::min(frames, 2); ++first) {
      FramePlayer<Cloud> player(model);
      ASSERT_EQ(player.Open(param, "") ? player.WaitForIndex() : -1, frames);
      std::vector<std::size_t> points(row.points.begin(), row.points.begin() + first);
      const auto take = [&](const FramePlayer<Cloud>::Frame& frame) {
        EXPECT_EQ(frame.early_points, frame.entry == first ? row.extra[first] : std::nullopt);
        points.push_back(frame.cloud->points.size());
      };
      test::MustEnd("the player", [&] { player.Play(0, first, frames, take); });
      EXPECT_EQ(points, row.points) << row.model << " from frame " << first;
      // Not those of the frame ahead; but a packet that ends a frame, again as the next one's first.
      const int skipped = first == 0 ? row.refused : row.packets - row.begin;
      EXPECT_EQ(static_cast<int>(player.Statistics().decoded),
                row.end - row.begin - skipped + frames - 1 - first);
      EXPECT_EQ(player.Faults()[0x42], row.refused * (2 - first)) << "indexing, and in frame 0";
    }
    FramePlayer<Cloud> player(model);
    ASSERT_EQ(player.Open(param, "") ? player.WaitForIndex() : -1, frames);
    for (const int entry : {frames - 1, frames - 1, 0, frames - 1}) {
      std::size_t points = 0;
      const auto take = [&](const FramePlayer<Cloud>::Frame& frame) {
        EXPECT_FALSE(entry > 1 && frame.early_points) << row.model << ": nothing precedes the last";
        points += frame.cloud->points.size();
      };
      const int ahead = std::max(entry - 1, 0);
      test::MustEnd("a jump", [&] { player.PlayRange(ahead, entry, entry + 1, take); });
      EXPECT_EQ(points, row.points[static_cast<std::size_t>(entry)]) << row.model << ' ' << entry;
    }
  }
}

/// The driver ends a cloud with 1563 packets where no mark does.
TEST(FramePlayer, EndsWhileTheDriverWaitsForRoom) {
  constexpr int kPackets = 1563;
  test::CaptureBuilder capture;
  for (int i = 0; i < 20 * kPackets; ++i) capture.Udp(test::JuniqPacket());
  const test::TempDir dir;
  FramePlayer<Cloud> player(*lidar::FindSensorModel("juniq"));
  ASSERT_TRUE(player.Open(test::Playback<Point>::Param(capture.Write(dir / "c.pcap")), ""));
  ASSERT_EQ(player.WaitForIndex(), 1);
  std::uint64_t decoded = 0;
  const auto take = [&](const FramePlayer<Cloud>::Frame&) {
    std::uint64_t before = 0;
    while (std::exchange(before, player.Statistics().decoded) != before || before == 0) {
      std::this_thread::sleep_for(std::chrono::milliseconds(200));
    }
    decoded = std::max(decoded, before);
    player.Abandon();
  };
  test::MustEnd("the player", [&] { EXPECT_FALSE(player.Play(0, 0, 1, take)); });
  EXPECT_LE(decoded, 9U * kPackets)
      << "four clouds at most in hand, four that wait, one that is ready";
}

}  // namespace
}  // namespace orliq::cli
