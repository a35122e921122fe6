// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <functional>

#include "decoder/brantis/DecoderBrantis.h"
#include "decoder/fennix/DecoderFennix.h"
#include "decoder/hestra/DecoderHestra.h"
#include "support/DecoderProbe.h"
#include "support/PacketBytes.h"

namespace orliq::lidar {
namespace {

struct FennixPacket : test::PacketBytes<1360, FennixPacket> {
  FennixPacket& Record(std::size_t k, unsigned column, unsigned row) {
    return Put(25 + 25 * k, 1, column).Put(26 + 25 * k, 1, row);
  }
};

struct LinePacket : test::PacketBytes<1236, LinePacket> {};

TEST(Fennix, EachRecordIsAPointAtTheOriginAndAMarkedPacketEndsTheFrame) {
  test::DecoderProbe<DecoderFennix, AngleCheckParam, Point> probe;
  probe.Calibrate();
  const auto count = [&probe] { return probe.points().size(); };
  const FennixPacket plain = FennixPacket().Record(3, 0x7F, 0xBE).Record(4, 0x7E, 0xBF);
  EXPECT_FALSE(probe.Decode(plain));
  EXPECT_EQ(count(), 32U);
  for (const std::size_t at : {0U, 31U}) {
    const FennixPacket marked = FennixPacket().Record(at, 0x7F, 0xBF);
    std::uint16_t start = 77;
    EXPECT_FALSE(probe.decoder.toSplite(plain.data(), 1360, start));
    EXPECT_EQ(start, 77);
    EXPECT_TRUE(probe.decoder.toSplite(marked.data(), 1360, start));
    EXPECT_EQ(start, at + 1);
    const std::size_t before = count();
    EXPECT_FALSE(probe.Decode(marked, start)) << "a marker before the start is not seen";
    EXPECT_EQ(count(), before + 31 - at);
    EXPECT_TRUE(probe.Decode(marked, static_cast<std::uint16_t>(at)));
    const auto& points = probe.frames.back()->points;
    EXPECT_EQ(points.size(), before + 31 - at + 32 - at);
    for (const Point& p : points) {
      EXPECT_EQ(p.x * p.x + p.y * p.y + p.z * p.z + p.intensity + p.ring, 0.0F);
    }
    EXPECT_EQ(probe.frames.back()->timestamp, 0.0);
    EXPECT_EQ(probe.last_rings, 192);
  }
  probe.decoder.EnableFinallyFrame();
  EXPECT_EQ(probe.frames.size(), 3U);
  std::uint16_t first = 0;
  const FennixPacket twice = FennixPacket().Record(3, 0x7F, 0xBF).Record(9, 0x7F, 0xBF);
  EXPECT_TRUE(probe.decoder.SplitFrame(twice.data(), 1360, first) && first == 4);
  DecoderFennix<PointCloud<Point>> alone({});
  EXPECT_THROW(alone.DecodeMsopPacket(FennixPacket().Record(0, 0x7F, 0xBF).data(), 1360, 0),
               std::bad_function_call);
}

TEST(Brantis, ACounterBelowTheLowestOneBeginsAFrameAndThereAreNoPoints) {
  test::DecoderProbe<DecoderBrantis, CheckParam, Point> probe;
  probe.Calibrate();
  const std::pair<unsigned, bool> counters[] = {
      {5, false}, {10, false}, {5, false}, {0x0104, false}, {3, true},     {10, false},
      {4, false}, {3, false},  {0, true},  {0, false},      {65535, false}};
  for (const auto& [counter, splits] : counters) {
    const LinePacket packet = LinePacket().Put(26, 2, counter);
    std::uint16_t start = 77;
    EXPECT_EQ(probe.decoder.toSplite(packet.data(), 1236, start), splits) << counter;
    EXPECT_EQ(start, splits ? 0 : 77);
    EXPECT_FALSE(probe.Decode(packet));
  }
  EXPECT_TRUE(probe.points().empty() && probe.frames.empty());
  probe.decoder.EnableFinallyFrame();
  EXPECT_EQ(probe.frames.at(0)->timestamp, 0.0);
  EXPECT_EQ(probe.last_rings, 56);
}

TEST(Hestra, TakesEveryPacketAndTheEndOfACaptureIsItsOnlyFrame) {
  test::DecoderProbe<DecoderHestra, AngleCheckParam, Point> probe;
  probe.Calibrate();
  std::uint16_t start = 77;
  for (const unsigned line : {9U, 3U, 0xBF7FU}) {
    const LinePacket packet = LinePacket().Put(24, 2, line).Put(26, 2, line);
    EXPECT_FALSE(probe.Decode(packet));
    EXPECT_FALSE(probe.decoder.toSplite(packet.data(), 1236, start));
  }
  EXPECT_EQ(start, 77);
  EXPECT_TRUE(probe.points().empty() && probe.frames.empty());
  probe.decoder.EnableFinallyFrame();
  EXPECT_EQ(probe.frames.at(0)->timestamp, 0.0);
  EXPECT_EQ(probe.last_rings, 56);
}

}  // namespace
}  // namespace orliq::lidar
