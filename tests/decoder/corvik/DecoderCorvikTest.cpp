// SPDX-License-Identifier: Apache-2.0
#include "decoder/corvik/DecoderCorvik.h"

#include <gmock/gmock.h>

#include <cmath>
#include <tuple>

#include "support/DecoderProbe.h"
#include "support/PacketBytes.h"

namespace orliq::lidar {
namespace {

using test::PacketBytes;

template <typename P>
using Probe = test::DecoderProbe<DecoderCorvik, CheckParam, P>;

constexpr double kTime = 1709251198.0;  // 2024-02-29 23:59:58, the builder's default

/// A scan line whose every sample measures 20.003125 m.
struct Packet : PacketBytes<1236, Packet> {
  explicit Packet(unsigned line) {
    Put(24, 1, line);
    for (std::size_t k = 0; k < 192; ++k) Sample(k, 2347, 0xF234);
    Put(1213, 2, 2024).Put(1215, 1, 2).Put(1216, 1, 29).Put(1217, 1, 23).Put(1218, 1, 59);
    Second(58);
  }
  Packet& Sample(std::size_t k, unsigned distance, unsigned intensity) {
    return Put(28 + 6 * k, 2, intensity).Put(30 + 6 * k, 2, distance).Put(32 + 6 * k, 2, 0xFFFF);
  }
  Packet& Second(unsigned second) { return Put(1219, 1, second); }
  Packet& Imu(const std::array<int, 6>& g) {
    for (std::size_t i = 0; i < 6; ++i) Put(1197 + 2 * i, 2, static_cast<unsigned>(g[i]));
    return *this;
  }
};

double Degrees(double centidegrees) {
  return centidegrees * 0.01 * 3.141592653589793 / 180.0;
}

// Line 10: 10 x 53.5714286 - 1500 = -964.29, so 9.64 deg up; line 255: 12160.71, so 121.60 deg down.
// Sample 2 looks 58.75 deg to the left, sample 191 -59.375, cut to -59.37 deg.
TEST(CorvikPoints, ASampleLiesOnItsLineAtItsAzimuth) {
  const std::tuple<unsigned, double> lines[] = {{10, 964.0},  {0, 1500.0}, {55, -1446.0},
                                                {35, -375.0}, {29, -53.0}, {255, -12160.0}};
  DecoderParam param;
  param.min_elevation = -180.0F;
  param.transform_param = {0, 1.0F, 2.0F, 3.0F, 4.0F, 5.0F, 6.0F};  // switched off
  for (const auto& [line, elevation] : lines) {
    Probe<PointSource> probe(param);
    probe.Decode(Packet(line));
    ASSERT_EQ(probe.points().size(), 192U);
    for (const auto& [k, azimuth] :
         {std::pair{0, 6000.0}, {2, 5875.0}, {1, 5937.0}, {191, -5937.0}}) {
      const PointSource p = probe.points()[static_cast<std::size_t>(k)];
      const double level = 20.003125 * std::cos(Degrees(elevation));
      EXPECT_NEAR(float{p.x}, std::fabs(level) * std::cos(Degrees(azimuth)), 1e-5) << line;
      EXPECT_NEAR(float{p.y}, std::fabs(level) * std::sin(Degrees(azimuth)), 1e-5) << line;
      EXPECT_NEAR(float{p.z}, 20.003125 * std::sin(Degrees(elevation)), 1e-5) << line;
      EXPECT_EQ(std::uint16_t{p.intensity}, 0x234) << "12 bits";
      EXPECT_EQ(std::uint16_t{p.ring}, line);
      EXPECT_EQ(double{p.timestamp}, kTime);
      EXPECT_EQ(std::int32_t{p.distance}, 0) << "never written";
    }
  }
}

TEST(CorvikFrame, EndsWithTheFirstPacketWhoseLineHasFallen) {
  Probe<Point> probe;
  const std::pair<unsigned, bool> lines[] = {{30, false},  {31, false}, {31, false}, {5, true},
                                             {255, false}, {254, true}, {0, true},   {0, false}};
  std::size_t frames = 0;
  for (const auto& [line, falls] : lines) {
    EXPECT_EQ(probe.Decode(Packet(line).Second(line % 60)), falls) << line;
    frames += falls ? 1 : 0;
    ASSERT_EQ(probe.frames.size(), frames) << line;
    if (!falls) continue;
    EXPECT_EQ(probe.frames.back()->points.back().ring, line) << "its samples are in that frame";
    EXPECT_EQ(probe.frames.back()->timestamp, kTime - 58 + line % 60) << "its time is the frame's";
  }
  EXPECT_EQ(probe.frames[0]->points.size(), 4 * 192U);
  EXPECT_EQ(probe.last_rings, 56);
  probe.decoder.EnableFinallyFrame();
  EXPECT_EQ(probe.frames.back()->timestamp, 0.0);
  EXPECT_EQ(probe.frames.back()->points.size(), 192U);
}

TEST(CorvikFrame, TestingAPacketAndDecodingItShareTheLastLine) {
  DecoderParam param;
  param.max_azimuth = 59.37F;  // the first sample is beyond it
  Probe<Point> probe(param);
  std::uint16_t start = 77;
  const auto splits = [&](unsigned line) {
    return probe.decoder.toSplite(Packet(line).data(), 1236, start);
  };
  EXPECT_FALSE(splits(30)) << "the first packet never";
  EXPECT_FALSE(splits(30));
  EXPECT_EQ(start, 77);
  EXPECT_TRUE(probe.Decode(Packet(20))) << "below the line that was tested";
  EXPECT_TRUE(splits(10));
  EXPECT_EQ(start, 1);
  EXPECT_FALSE(probe.Decode(Packet(10).Sample(1, 534, 5), start)) << "tested before";
  EXPECT_EQ(probe.points().size(), 191U);
  EXPECT_EQ(probe.points()[0].intensity, 5);
  const double left = 3.00625 * std::cos(Degrees(964)) * std::sin(Degrees(5937));
  EXPECT_NEAR(probe.points()[0].y, left, 1e-5) << "the second sample";
  EXPECT_FALSE(probe.Decode(Packet(5), 192)) << "no sample, no frame";
  EXPECT_FALSE(splits(10)) << "nor a last line";
  EXPECT_EQ(probe.points().size(), 191U);

  DecoderCorvik<PointCloud<Point>> alone({});
  alone.ProcessMsopPacket(Packet(9).data(), 1236, 0);
  EXPECT_TRUE(alone.ProcessMsopPacket(Packet(8).data(), 1236, 0))
      << "nobody listens, nothing throws";
}

TEST(CorvikImu, ASampleIsHandedOutWhenItDiffersInTheAxesOfThePointFrame) {
  Probe<Point> probe;
  probe.decoder.InstallImuMsg(std::make_shared<ImuMsg>());
  probe.Decode(Packet(9));
  EXPECT_TRUE(probe.samples.empty()) << "all zero is how it begins";
  const auto& g = test::kImuCounts;
  probe.Decode(Packet(3).Imu(g));
  probe.Decode(Packet(3).Imu(g));
  ASSERT_EQ(probe.samples.size(), 1U);
  EXPECT_EQ(probe.frames_at_sample, 1U) << "behind the frame of the same packet";
  const ImuMsg& imu = probe.samples[0];
  EXPECT_EQ(imu.valid, 1);
  EXPECT_EQ(imu.timestamp, kTime);
  test::ExpectImuAxes(imu, 2.0345e-5);
  for (std::size_t axis = 0; axis < 6; ++axis) {
    std::array<int, 6> other = g;
    ++other[axis];
    probe.Decode(Packet(3).Imu(other), 192);
    probe.Decode(Packet(3).Imu(g), 192);
  }
  EXPECT_EQ(probe.samples.size(), 13U) << "each of the six counts";
  probe.decoder.RegisterIMUCallBack(nullptr);
  probe.Decode(Packet(3).Imu({}));
  probe.ListenToSamples();
  probe.Decode(Packet(3).Imu({}));
  EXPECT_EQ(probe.samples.size(), 13U) << "used up while nobody took it";
  probe.Decode(Packet(3).Imu({0, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(std::signbit(probe.samples.back().linear_acceleration_x)) << "turned zeros are -0";
}

}  // namespace
}  // namespace orliq::lidar
