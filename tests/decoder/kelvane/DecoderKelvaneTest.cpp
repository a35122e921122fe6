// SPDX-License-Identifier: Apache-2.0
#include "decoder/kelvane/DecoderKelvane.h"

#include <gmock/gmock.h>

#include <cmath>
#include <functional>
#include <tuple>

#include "support/DecoderProbe.h"
#include "support/PacketBytes.h"

namespace orliq::lidar {
namespace {

template <typename P>
using Probe = test::DecoderProbe<DecoderKelvane, CheckParam, P>;

/// Every record measures 20 m straight ahead; two packets make a cycle.
struct Packet : test::PacketBytes<1084, Packet> {
  explicit Packet(unsigned sequence) {
    PutBig(0, 4, 0x55AA5AA5).PutBig(4, 2, sequence).Put(6, 2, 0).Put(8, 1, 1).Face(1);
    for (std::size_t j = 0; j < 260; ++j) Record(j, 4000, 7);
  }
  Packet& Record(std::size_t j, unsigned distance, unsigned intensity) {
    return PutBig(32 + 4 * j, 2, distance).Put(34 + 4 * j, 1, intensity).Put(35 + 4 * j, 1, 0xFF);
  }
  Packet& Azimuth(int centidegrees) { return PutBig(24, 2, static_cast<unsigned>(centidegrees)); }
  Packet& Face(unsigned face) { return Put(27, 1, face); }
  Packet& Flags(unsigned flags) { return Put(26, 1, flags); }
};

// Column 519 looks -13 + 519 x 0.05 = 12.95 deg up; 0x3039 x 0.005 = 61.725 m.
TEST(KelvanePoints, ARecordLiesInItsColumnAtThePacketsAzimuth) {
  DecoderParam param;
  param.max_azimuth = 180.0F;
  param.transform_param = {1,    1.0F, 2.0F, 3.0F,
                           4.0F, 5.0F, 6.0F};  // which this model does not have
  Probe<PointSource> probe(param);
  EXPECT_FALSE(probe.Decode(Packet(2).Record(259, 0x3039, 0xAB).Azimuth(12345)));
  ASSERT_EQ(probe.points().size(), 260U);
  const PointSource p = probe.points()[259];
  const double up = 12.95 * 3.141592653589793 / 180;
  const double left = 123.45 * 3.141592653589793 / 180;
  EXPECT_NEAR(float{p.x}, 61.725 * std::cos(up) * std::cos(left), 1e-5) << "behind the sensor";
  EXPECT_NEAR(float{p.y}, 61.725 * std::cos(up) * std::sin(left), 1e-5);
  EXPECT_NEAR(float{p.z}, 61.725 * std::sin(up), 1e-5);
  EXPECT_EQ(std::uint16_t{p.intensity}, 0xAB);
  EXPECT_EQ(std::uint16_t{p.ring}, 519);
  EXPECT_EQ(double{p.timestamp}, 0.0);
  EXPECT_EQ(std::int32_t{p.distance}, 0) << "never written";
}

TEST(KelvaneFrame, EndsWhenTheSequenceNumberFallsByMoreThanTen) {
  struct Row {
    const char* why;
    std::vector<unsigned> before;
    unsigned sequence;
    bool splits;
  };
  const Row rows[] = {
      {"the first packet of all", {}, 1, false},
      {"a first packet far ahead is believed", {500}, 489, true},
      {"nothing was accepted but index 0: still", {1, 500}, 489, true},
      {"a start again after the eleventh", {1, 2, 11}, 1, false},
      {"after the twelfth", {1, 2, 12}, 1, true},
      {"overtaken by up to ten", {1, 12}, 2, false},
      {"a packet overtaken keeps the position", {1, 12, 2}, 1, true},
      {"ten ahead is accepted", {6, 16}, 5, true},
      {"eleven ahead is not", {6, 17}, 1, false},
      {"nor what follows it", {6, 17, 18, 19}, 1, false},
      {"number 0 counts as the highest", {0}, 65525, true},
      {"and is ten below it", {0}, 65526, false},
      {"near the end nothing is ahead", {65531, 65535}, 65524, false},
      {"a new frame sets the position", {500, 400, 410}, 389, true},
      {"and is the new position itself", {500, 400, 390}, 391, false},
  };
  for (const Row& row : rows) {
    Probe<Point> split;
    Probe<Point> decode;
    std::uint16_t start = 77;
    for (const unsigned n : row.before) {
      split.decoder.toSplite(Packet(n).data(), 1084, start);
      decode.Decode(Packet(n), 1);
      const Packet ignored = Packet(row.sequence > 0 ? 65400 : 1).Flags(2);
      EXPECT_FALSE(decode.Decode(ignored));
      EXPECT_FALSE(split.decoder.toSplite(ignored.data(), 1084, start));
    }
    start = 77;
    const std::size_t frames = decode.frames.size();
    EXPECT_EQ(split.decoder.toSplite(Packet(row.sequence).data(), 1084, start), row.splits)
        << row.why;
    EXPECT_EQ(start, row.splits ? 0 : 77);
    EXPECT_EQ(decode.Decode(Packet(row.sequence).Flags(0xFD)), row.splits) << row.why;
    EXPECT_EQ(decode.frames.size() - frames, row.splits ? 1U : 0U) << row.why;
    EXPECT_FALSE(split.decoder.toSplite(Packet(row.sequence).data(), 1084, start)) << "shared";
    std::size_t points = decode.cloud()->points.size();
    for (const auto& frame : decode.frames) points += frame->points.size();
    EXPECT_EQ(points, 260 * (row.before.size() + 1))
        << "refused positions are decoded all the same";
  }
}

TEST(KelvaneFrame, IsHandedOutBeforeTheNextOnesFirstPoints) {
  Probe<PointTime> probe({0.5F, 100.0F, -90.0F, 90.0F, -90.0F, 90.0F, {}});
  probe.Decode(Packet(100));
  EXPECT_TRUE(probe.Decode(Packet(1)));
  ASSERT_EQ(probe.frames.size(), 1U);
  EXPECT_EQ(probe.frames[0]->points.size(), 260U);
  EXPECT_EQ(probe.frames[0]->timestamp, 0.0);
  EXPECT_EQ(probe.points().size(), 260U) << "in the cloud that the callback installed";
  EXPECT_EQ(probe.last_rings, 1);
  probe.decoder.EnableFinallyFrame();
  EXPECT_EQ(probe.frames[1]->points.size(), 260U);
  probe.Decode(Packet(4).Azimuth(9001));
  probe.Decode(Packet(5).Record(9, 0, 7));
  probe.Decode(Packet(6).Flags(2));
  probe.Decode(Packet(7).Azimuth(9001));
  EXPECT_EQ(probe.decoder.Counts().skipped.Value(), 2U) << "one to be ignored has come as well";
  EXPECT_EQ(probe.decoder.Counts().gated.Value(), 521U);

  DecoderKelvane<PointCloud<Point>> alone({});
  const auto cloud = std::make_shared<PointCloud<Point>>();
  alone.InstallCloud(cloud);
  alone.ProcessMsopPacket(Packet(100).data(), 1084, 0);
  EXPECT_THROW(alone.ProcessMsopPacket(Packet(1).data(), 1084, 0), std::bad_function_call);
  EXPECT_EQ(cloud->points.size(), 260U);
  EXPECT_FALSE(alone.ProcessMsopPacket(Packet(1).data(), 1084, 0)) << "the position had changed";
}

/// A cloud whose application looks at each point.
struct Watched : PointCloud<Point> {
  void PushPoint(const Point& point) override { seen += point.intensity; }
  unsigned seen = 0;
};

TEST(KelvaneFrame, ADerivedCloudMayTakeThePlaceOfAPlainOneInTheMiddleOfAPacket) {
  DecoderKelvane<PointCloud<Point>> decoder({});
  const auto watched = std::make_shared<Watched>();
  decoder.InstallCloud(std::make_shared<PointCloud<Point>>());
  decoder.RegisterCallBack(
      nullptr, [&](const std::uint16_t&, const double&) { decoder.InstallCloud(watched); });
  decoder.ProcessMsopPacket(Packet(100).data(), 1084, 0);
  decoder.ProcessMsopPacket(Packet(1).data(), 1084, 0);
  EXPECT_EQ(watched->seen, 260U * 7);
  EXPECT_TRUE(watched->points.empty());
}

}  // namespace
}  // namespace orliq::lidar
