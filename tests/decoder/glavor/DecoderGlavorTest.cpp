// SPDX-License-Identifier: Apache-2.0
#include "decoder/glavor/DecoderGlavor.h"

#include <gmock/gmock.h>

#include <functional>

#include "support/DecoderProbe.h"
#include "support/PacketBytes.h"

namespace orliq::lidar {
namespace {

using test::kMarker;
using test::SetTable;
using Return = test::JuniqReturn;  // which has one field more

template <typename P>
using Probe = test::DecoderProbe<DecoderGlavor, AngleCheckParam, P>;

constexpr std::size_t kPosition = 20 + 256 * 10;  // of the default return

struct Packet : test::PacketBytes<1360, Packet> {
  explicit Packet(const Return& everywhere = {}) {
    for (std::size_t i = 0; i < 32; ++i) Block(i, everywhere);
  }
  Packet& Block(std::size_t index, const Return& r) {
    const std::size_t at = 25 + 40 * index;
    Put(at, 1, r.column).Put(at + 1, 1, r.row).Put(at + 2, 2, r.width_ref).Put(at + 9, 3, r.tof);
    return Put(at + 12, 3, r.peak).Put(at + 18, 3, r.width);
  }
};

// (100 x 1.645 - 2.09) x 0.15 = 24.3615 m; r = 2; c = 0.008 + 0.02 + 0.0243615 + 0.05 = 0.1023615;
// 24.2591385 m at -30 deg azimuth and 10 deg elevation, moved by 1, 2 and 3 m.
TEST(GlavorPoints, AReturnBecomesACalibratedPointWithoutATime) {
  DecoderParam param;
  param.min_distance = -1.0F;
  param.max_azimuth = 20.0F;
  param.transform_param = {1, 1.0F, 2.0F, 3.0F, 0, 0, 0};
  Probe<PointSource> probe(param);
  probe.check->azimuth[kPosition] = 30.0F;
  probe.check->elevation[kPosition] = 10.0F;
  probe.check->azimuth[kPosition + 1] = -20.01F;
  SetTable(&probe.check->weight, {0.01F, 0.001F, 0.002F, 0.05F});
  SetTable(&probe.check->near_filter, {0, 0, 0, 0, 1, 0.5F, 3, 0.5F, 0.03F});  // for Juniq alone
  probe.Calibrate();
  Packet packet(Return{20, 10, 6400, 3000, 1500, 0x23456});
  EXPECT_FALSE(probe.Decode(packet.Block(0, {21, 10}).Block(1, {20, 10, 0, 0})));
  ASSERT_EQ(probe.points().size(), 32U);
  const PointSource p = probe.points()[31];
  EXPECT_NEAR(float{p.x}, 21.689856F, 1e-5F);
  EXPECT_NEAR(float{p.y}, -9.945294F, 1e-5F);
  EXPECT_NEAR(float{p.z}, 7.212555F, 1e-5F);
  EXPECT_EQ(std::uint16_t{p.intensity}, 0x3456) << "low 16 bits of the peak";
  EXPECT_EQ(std::uint16_t{p.ring}, 10);
  EXPECT_EQ(double{p.timestamp}, 0.0);
  EXPECT_EQ(std::int32_t{p.distance}, 24);
  EXPECT_EQ(float{probe.points()[0].z}, 0.0F) << "beyond the azimuth limit: at the origin";
  // -0.3135 m less 0.05 - 0.0003135 m is a range as any other.
  EXPECT_NEAR(float{probe.points()[1].z}, 3.0F - 0.3631865F * 0.17364818F, 1e-5F);
  probe.decoder.UpdateTransform({0, 1.0F, 2.0F, 3.0F, 0, 0, 0});
  probe.Decode(packet);
  EXPECT_NEAR(float{probe.points()[63].x}, 20.689856F, 1e-5F);
}

TEST(GlavorFrame, TheMarkerClosesTheFrameAfterItsWholePacket) {
  for (const std::size_t at : {0U, 10U, 31U}) {
    Packet marked = Packet().Block(at, kMarker).Put(1315, 2, 0x1234).Put(1317, 2, 1440);
    marked.Put(1319, 2, 1025).Put(1333, 1, 0xA5);
    test::ExpectMarkerClosesFrame<Probe<PointTime>>(Packet(), marked, {32, at, 0.0});
  }
}

TEST(GlavorFrame, ALostMarkerIsForcedEvenWhenItIsThereAndNobodyListens) {
  Probe<Point> probe;
  const auto decode_99999 = [&probe] {
    for (int i = 0; i < 3124; ++i) probe.Decode(Packet());
    probe.Decode(Packet(), 1);
  };
  decode_99999();
  EXPECT_TRUE(probe.frames.empty());
  EXPECT_FALSE(probe.Decode(Packet().Put(1315, 2, 9), 31));
  ASSERT_EQ(probe.frames.size(), 1U);
  EXPECT_EQ(probe.frames[0]->points.size(), 100000U);
  EXPECT_EQ(probe.frames[0]->frame_word, 0) << "no header fields";
  decode_99999();
  probe.Decode(Packet().Block(31, kMarker), 31);
  EXPECT_EQ(probe.frames.size(), 2U) << "a marked packet closes once";
  decode_99999();
  probe.decoder.EnableFinallyFrame();
  probe.Decode(Packet());
  EXPECT_EQ(probe.frames.size(), 3U) << "the end of the stream began a new count";
  EXPECT_EQ(probe.frames[2]->timestamp, 0.0);

  DecoderGlavor<PointCloud<Point>> alone({});
  const Packet marked = Packet().Block(31, kMarker);
  for (int i = 0; i < 3124; ++i) EXPECT_TRUE(alone.ProcessMsopPacket(marked.data(), 1360, 0));
  EXPECT_THROW(alone.ProcessMsopPacket(marked.data(), 1360, 0), std::bad_function_call);
}

}  // namespace
}  // namespace orliq::lidar
