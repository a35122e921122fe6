// SPDX-License-Identifier: Apache-2.0
#include "decoder/juniq/DecoderJuniq.h"

#include <gmock/gmock.h>

#include <cmath>
#include <tuple>

#include "decoder/LoopForm.h"
#include "decoder/RangeChain.h"
#include "support/DecoderProbe.h"

namespace orliq::lidar {
namespace {

using test::JuniqPacket;
using test::JuniqProbe;
using test::JuniqReturn;
using test::kMarker;
using test::SetTable;

constexpr std::size_t kPosition = 20 + 256 * 10;  // of the packet builder's default return
constexpr double kPacketTime = 1709251198.25;     // 2024-02-29 23:59:58.25, the builder's default

// Range 24.2446 m after the offset; r = 2; c = 0.008 + 0.02 + 0.0242446 + 0.05 = 0.1022446;
// 24.142402 m; 24.112402 m after the offset of the columns below 128; at -30 deg azimuth and 10 deg
// elevation.
TEST(JuniqPoints, AReturnBecomesACalibratedPointAndStaysReadable) {
  JuniqProbe<JuniqPoint> probe;
  probe.check->offset[kPosition] = 0.1F;
  probe.check->azimuth[kPosition] = 30.0F;
  probe.check->elevation[kPosition] = 10.0F;
  SetTable(&probe.check->weight, {0.01F, 0.001F, 0.002F, 0.05F});
  SetTable(&probe.check->near_filter, {0, 0, 0, 0, 0, 0, 0, 0.5F, 0.03F});
  probe.Calibrate();
  JuniqPacket packet(JuniqReturn{20, 10, 6400, 0x23456, 0xABCD, 0x987654, 0x4321});
  EXPECT_FALSE(probe.Decode(packet.Block(0, {})));
  ASSERT_EQ(probe.points().size(), 64U);
  const JuniqPoint& p = probe.points()[0];
  EXPECT_NEAR(p.x, 20.56471F, 2e-5F);
  EXPECT_NEAR(p.y, -11.87304F, 2e-5F);
  EXPECT_NEAR(p.z, 4.187075F, 1e-5F);
  EXPECT_EQ(p.intensity, 3000);
  const JuniqPoint& j = probe.points()[1];  // its intensity: the low 16 bits of the width
  EXPECT_THAT((std::vector<std::uint32_t>{j.ring, j.row, j.column, j.aux, j.width_ref, j.peak,
                                          j.tof, j.width, j.intensity}),
              testing::ElementsAre(10, 10, 20, 0x4321, 0xABCD, 0x987654, 6400, 0x23456, 0x3456));
}

TEST(JuniqRange, NearFilterDropsWhatIsTooWeakForItsRange) {
  // Outer limit 32 m, slope 1000: at 16 m the peak must reach 16 / 32 x 1000 = 500. Below the inner
  // limit of 8 m it must reach 50; at 8 m the outer rule asks for 750.
  const float both[9] = {1000, 32, 50, 8};
  const float below = std::nextafter(8.0F, 0.0F);
  const std::tuple<float, float, bool> rows[] = {{16, 499, false},   {16, 500, true},
                                                 {below, 49, false}, {below, 50, true},
                                                 {8, 50, false},     {32, 0, true}};
  for (const auto& [range, peak, kept] : rows) {
    EXPECT_EQ(FilterNearNoisePoints(range, peak, NearFilter(both)), kept ? range : 0.0F) << range;
  }
  const float off[9] = {1000, 0, 51, 25};  // an outer limit of 0 switches both rules off
  EXPECT_EQ(FilterNearNoisePoints(24.344647F, 50, NearFilter(off)), 24.344647F);
}

TEST(JuniqRange, FusedProductEqualsTheExactSumForEveryTimeOfFlight) {
  for (std::int32_t tof = 0; tof < (1 << 24); ++tof) {
    const float fused = std::fma(static_cast<float>(tof) * 0.015625F, 1.645F, -2.09F);
    ASSERT_EQ(RawDistance(tof, 0.14989623F), fused * 0.14989623F) << tof;
  }
}

TEST(JuniqGates, EachLimitHoldsItsOwnValueAndNothingBeyond) {
  // v = 100 counts; azimuth -59.375 in the table and elevation 10.005, cut to hundredths.
  const float range = static_cast<float>(100.0 * 1.645F - 2.09F) * 0.14989623F;
  const std::tuple<float DecoderParam::*, float, float> limits[] = {
      {&DecoderParam::min_distance, range, 1e3F},  {&DecoderParam::max_distance, range, 0.0F},
      {&DecoderParam::min_azimuth, 59.37F, 1e3F},  {&DecoderParam::max_azimuth, 59.37F, 0.0F},
      {&DecoderParam::min_elevation, 10.0F, 1e3F}, {&DecoderParam::max_elevation, 10.0F, 0.0F}};
  for (const auto& [limit, value, inward] : limits) {
    for (const unsigned form : {0U, 1U, 2U, 3U}) {
      const bool held = (form & 1) != 0;
      LoopForm::ForcePortable((form & 2) != 0);
      DecoderParam param;
      param.*limit = held ? value : std::nextafter(value, inward);
      JuniqProbe<Point> probe(param);
      probe.check->azimuth[kPosition] = -59.375F;
      probe.check->elevation[kPosition] = 10.005F;
      probe.Calibrate();
      probe.Decode(JuniqPacket());
      EXPECT_EQ(probe.points()[0].z != 0.0F, held) << value << ' ' << inward;
      EXPECT_EQ(probe.decoder.Counts().gated.Value(), held ? 0U : 64U);
      LoopForm::ForcePortable(false);
    }
  }
}

TEST(JuniqGates, GatedAndNullPointsStayInTheCloudAtTheOriginAfterTheTransform) {
  DecoderParam param;
  param.transform_param = {1, 1.0F, 2.0F, 3.0F, 0, 0, 0};
  param.max_azimuth = 20.0F;
  param.min_distance = -10.0F;  // does not hide a null point
  JuniqProbe<PointSource> probe(param);
  probe.check->azimuth[kPosition] = -20.0F;
  probe.check->azimuth[kPosition + 1] = -20.5F;
  probe.check->near_filter[8] = -5.0F;  // nor may a step after the null test lift it
  probe.Calibrate();
  probe.Decode(JuniqPacket().Block(1, {21, 10}).Block(2, {20, 10, 0}));
  const std::vector<PointSource>& points = probe.points();
  EXPECT_NEAR(float{points[0].x}, 29.344647F * std::cos(20 * 3.14159265F / 180) + 1, 1e-4F);
  EXPECT_EQ(float{points[0].z}, 3.0F);
  EXPECT_EQ(float{points[1].z}, 0.0F) << "outside the gate";
  EXPECT_EQ(float{points[2].z}, 0.0F) << "nothing measured";
  EXPECT_EQ(std::int32_t{points[2].distance}, 0);
  EXPECT_EQ(points[2].intensity, 3000);
  for (const std::uint8_t enable : std::vector<std::uint8_t>{1, 0}) {
    probe.decoder.UpdateTransform({enable, 9, 9, 9, 9, 9, 9});  // only the flag counts
    probe.Decode(JuniqPacket(), 63);
    EXPECT_EQ(float{probe.points().back().z}, enable * 3.0F);
  }
}

TEST(JuniqFrame, TheMarkerClosesTheFrameAfterItsWholePacket) {
  for (const std::size_t at : {0U, 10U, 63U}) {
    test::ExpectMarkerClosesFrame<JuniqProbe<Point>>(
        JuniqPacket().Second(57), JuniqPacket().Block(at, kMarker).Header(0x1234, 1440, 1025, 0xA5),
        {64, at, kPacketTime - 1});  // the time of the frame's first packet
  }
}

TEST(JuniqFrame, APacketWithoutMarkerHasNoSplit) {
  JuniqProbe<Point> probe;
  std::uint16_t start = 77;
  const JuniqPacket near_misses = JuniqPacket().Block(0, {0x7F, 0xBE}).Block(1, {0x7E, 0xBF});
  EXPECT_FALSE(probe.decoder.toSplite(near_misses.data(), near_misses.size(), start));
  for (const unsigned behind : {64U, 65U, 65535U}) {
    probe.Decode(JuniqPacket(), static_cast<std::uint16_t>(behind));
  }
  EXPECT_TRUE(probe.points().empty()) << "there is no block from there on";
  probe.Decode(JuniqPacket(), 61);
  EXPECT_EQ(probe.points().capacity(), 4U) << "a cloud grows by doubling, from one point on";
  EXPECT_EQ(start, 77);
}

TEST(JuniqFrame, ALostMarkerIsForcedAndTheNextFramePassesUnfiltered) {
  JuniqProbe<Point> probe;
  SetTable(&probe.check->near_filter,
           {0, 0, 0, 0, 1, 0, 1});  // radius 0, 1 neighbour: isolated ones go
  probe.Calibrate();
  for (int i = 0; i < 1562; ++i) probe.Decode(JuniqPacket().Second(5));
  probe.Decode(JuniqPacket(), 33);
  EXPECT_TRUE(probe.frames.empty()) << "99999 points";
  probe.Decode(JuniqPacket().Header(9, 9, 9, 9), 63);
  ASSERT_EQ(probe.frames.size(), 1U);
  EXPECT_EQ(probe.frames[0]->points.size(), 100000U) << "not filtered";
  EXPECT_EQ(probe.frames[0]->timestamp, kPacketTime - 53);
  EXPECT_EQ(probe.frames[0]->frame_word, 0) << "no header fields";

  probe.Decode(JuniqPacket().Block(63, kMarker));
  EXPECT_EQ(probe.frames[1]->points.size(), 64U) << "nor the next, as the filter knows of more";
  probe.Decode(JuniqPacket().Block(63, kMarker));
  EXPECT_EQ(probe.frames[2]->points.size(), 0U) << "filtering again: one cell supports nobody";

  probe.Decode(JuniqPacket());
  probe.decoder.EnableFinallyFrame();
  EXPECT_EQ(probe.frames[3]->points.size(), 64U) << "the end of the stream: not filtered";
  probe.Decode(JuniqPacket().Block(63, kMarker));
  EXPECT_EQ(probe.frames[4]->points.size(), 0U) << "the next one is, as nothing is left over";
  for (int i = 0; i < 1562; ++i) probe.Decode(JuniqPacket());
  probe.Decode(JuniqPacket().Block(63, kMarker));
  EXPECT_EQ(probe.frames.size(), 6U) << "the count began anew, and a marked packet closes once";
}

TEST(JuniqTime, PointsAreStampedInGroupsOf256BlocksAcrossFrames) {
  JuniqProbe<PointTime> probe;
  const auto second = [&](std::size_t i) { return probe.points()[i].timestamp - kPacketTime + 58; };
  probe.Decode(JuniqPacket().Second(1), 32);  // 32 blocks: the group is out of step
  for (unsigned i = 2; i <= 5; ++i) probe.Decode(JuniqPacket().Second(i));
  EXPECT_EQ(second(255), 1) << "the 256th block still has the group's first time";
  EXPECT_EQ(second(256), 5) << "the next one has the time of its own packet";
  probe.Decode(JuniqPacket().Second(6).Block(63, kMarker));  // 96 blocks into the second group
  for (unsigned i = 7; i <= 9; ++i) probe.Decode(JuniqPacket().Second(i));
  EXPECT_EQ(second(0), 7) << "a frame end starts a new group time";
  EXPECT_EQ(second(159), 7) << "but the count of blocks runs on: 96 + 160 are 256";
  EXPECT_EQ(second(160), 9);
  JuniqProbe<PointTime> in_step;  // a group that ends with a packet
  for (unsigned i = 1; i <= 5; ++i) in_step.Decode(JuniqPacket().Second(i));
  EXPECT_EQ(in_step.points()[256].timestamp, kPacketTime - 54);
  in_step.decoder.EnableFinallyFrame();
  in_step.Decode(JuniqPacket().Block(0, kMarker));
  EXPECT_EQ(in_step.frames[0]->timestamp, 0.0);
  EXPECT_EQ(in_step.frames[1]->timestamp, kPacketTime) << "a frame ended by hand ended as well";
}

TEST(JuniqTime, EachFieldOfThePacketTimeCountsInARowOfPackets) {
  JuniqProbe<Point> probe;
  const auto time = [&probe](const JuniqPacket& packet) {
    probe.Decode(packet);
    return probe.decoder.PacketTime();
  };
  EXPECT_EQ(time(JuniqPacket().Time(0, 0, 0, 0, 0, 0, 0)), -62169984000.0) << "30 November, -1";
  constexpr double kNewYear = 1704067200.0;
  EXPECT_EQ(time(JuniqPacket().Time(2024, 1, 1, 0, 0, 0, 0)), kNewYear);
  EXPECT_EQ(time(JuniqPacket().Time(2024, 1, 1, 0, 0, 0, 500000)), kNewYear + 0.5);
  EXPECT_EQ(time(JuniqPacket().Time(2024, 1, 1, 0, 0, 1, 0)), kNewYear + 1);
  EXPECT_EQ(time(JuniqPacket().Time(2024, 1, 1, 0, 1, 1, 0)), kNewYear + 61);
  EXPECT_EQ(time(JuniqPacket().Time(2024, 1, 1, 1, 1, 1, 0)), kNewYear + 3661);
  EXPECT_EQ(time(JuniqPacket().Time(2024, 1, 2, 1, 1, 1, 0)), kNewYear + 3661 + 86400);
  EXPECT_EQ(time(JuniqPacket().Time(2024, 2, 2, 1, 1, 1, 0)), kNewYear + 3661 + 32 * 86400);
  EXPECT_EQ(time(JuniqPacket().Time(2025, 2, 2, 1, 1, 1, 0)), kNewYear + 3661 + 398 * 86400);
}

TEST(JuniqImu, ASampleIsHandedOutOncePerStampInTheAxesOfThePointFrame) {
  JuniqProbe<Point> probe;
  const auto& w = test::kImuCounts;
  probe.Decode(JuniqPacket().Imu(w, 5));  // no message installed: the stamp is used up all the same
  probe.decoder.InstallImuMsg(std::make_shared<ImuMsg>());
  for (const unsigned stamp : {5U, 6U, 6U, 0xFFFFFFU, 0U, 0U})
    probe.Decode(JuniqPacket().Imu(w, stamp));
  ASSERT_EQ(probe.samples.size(), 4U) << "6, FFFFFF and each 0: no stamp yet";
  const ImuMsg& imu = probe.samples[0];
  EXPECT_EQ(imu.valid, 1);
  EXPECT_EQ(imu.timestamp, kPacketTime);
  test::ExpectImuAxes(imu, 0.000173611);
  probe.Decode(JuniqPacket().Imu({}, 7));
  EXPECT_FALSE(std::signbit(probe.samples.back().linear_acceleration_x)) << "turned zeros are +0";
}

TEST(JuniqFilter, IsSwitchedOnByExactlyOneAndNeverOff) {
  JuniqProbe<Point> probe;
  testing::internal::CaptureStdout();
  const std::pair<float, std::size_t> rows[] = {{0.999F, 64}, {1.0F, 0}, {0.0F, 0}};
  for (const auto& [enable, left] : rows) {
    SetTable(&probe.check->near_filter, {0, 0, 0, 0, enable, 0.5F, 3.9F});
    probe.Calibrate();
    probe.Decode(JuniqPacket().Block(63, kMarker));
    EXPECT_EQ(probe.frames.back()->points.size(), left) << enable;
  }
  probe.decoder.UpdateCheckParam(nullptr);
  EXPECT_EQ(testing::internal::GetCapturedStdout(), "is_use_filter:1 0.5 3.9\n");
}

MATCHER(RingIs, "") {
  return std::get<0>(arg).ring == std::get<1>(arg);
}

/// What an application derives: it sees each point, and keeps the order in which it sees them.
struct CountingCloud : PointCloud<Point> {
  void PushPoint(const Point& point) override {
    rings.push_back(point.ring);
    PointCloud<Point>::PushPoint(point);
  }
  std::vector<unsigned> rings;
};

TEST(JuniqFilter, ADerivedCloudGetsEachPointInOrderAndIsFilteredLikeAPlainOne) {
  JuniqProbe<Point> plain;
  JuniqProbe<Point> derived;
  const auto cloud = std::make_shared<CountingCloud>();
  cloud->points.reserve(64);  // room for all is no leave to pass the cloud by
  derived.decoder.InstallCloud(cloud);
  JuniqPacket packet(JuniqReturn{100, 100, 0});         // null points stay in any case
  const JuniqReturn weak{90, 60, 6400, 3000, 1500, 0};  // becomes 0 m below 30 m, but is not null
  packet.Block(2, {20, 10}).Block(5, weak).Block(9, {21, 10}).Block(63, kMarker);
  std::vector<unsigned> rings(64, 100);
  rings[2] = rings[9] = 10;
  rings[5] = 60;
  std::vector<unsigned> left = rings;
  left.erase(left.begin() + 5);
  left.pop_back();  // the mark, a lonely return
  rings[63] = 0xBF;
  for (auto* const probe : {&plain, &derived}) {
    SetTable(&probe->check->near_filter, {1e5F, 30.0F, 0, 0, 1.0F, 0.1F, 1.0F});
    probe->Calibrate();
    probe->Decode(packet);
    EXPECT_THAT(probe->frames[0]->points, testing::Pointwise(RingIs(), left));
  }
  EXPECT_EQ(cloud->rings, rings);
}

}  // namespace
}  // namespace orliq::lidar
