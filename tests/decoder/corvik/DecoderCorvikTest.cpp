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

TEST(CorvikPoints, LimitsHoldTheirOwnValueAndWhatTheyRefuseStaysAtTheOrigin) {
  // On line 28, straight ahead in height, sample 191 measures 20.003125 m; counts up to 213 are 0 m.
  const std::tuple<float DecoderParam::*, float, float> limits[] = {
      {&DecoderParam::min_distance, 20.003125F, 1e3F},
      {&DecoderParam::max_distance, 20.003125F, 0.0F},
      {&DecoderParam::min_azimuth, -59.37F, 1e3F},
      {&DecoderParam::max_azimuth, -59.37F, -1e3F},
      {&DecoderParam::min_elevation, -0.53F, 1e3F},
      {&DecoderParam::max_elevation, -0.53F, -1e3F}};
  for (const auto& [limit, value, inward] : limits) {
    for (const bool held : {true, false}) {
      DecoderParam param;
      param.*limit = held ? value : std::nextafter(value, inward);
      param.transform_param = {1, 100.0F, 0, 0, 0, 0, 0};
      Probe<Point> probe(param);
      probe.Decode(Packet(29));
      const Point& p = probe.points()[191];
      EXPECT_EQ(p.x > 100.0F, held) << value;
      EXPECT_EQ(p.x == 0.0F, !held) << "not where the transform would put it";
      EXPECT_EQ(p.intensity, 0x234);
    }
  }
  DecoderParam near;
  near.min_distance = 0.0F;
  near.transform_param = {1, 1.0F, 0, 0, 0, 0, 0};
  Probe<Point> probe(near);
  probe.Decode(Packet(28).Sample(96, 213, 0).Sample(97, 214, 0));
  EXPECT_EQ(probe.points()[96].x, 1.0F) << "-0.003125 m";
  EXPECT_NEAR(probe.points()[97].x, 1.00625F, 1e-6F);
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
  EXPECT_FALSE(probe.Decode(Packet(10), start)) << "tested before";
  EXPECT_EQ(probe.points().size(), 191U);
  const double left = 20.003125 * std::cos(Degrees(964)) * std::sin(Degrees(5937));
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
  const std::array<int, 6> g = {100, -200, 300, 1000, -2000, 32767};
  probe.decoder.InstallImuMsg(std::make_shared<ImuMsg>());
  probe.Decode(Packet(0));
  EXPECT_TRUE(probe.samples.empty()) << "all zero is how it begins";
  probe.Decode(Packet(1).Imu(g), 192);
  probe.Decode(Packet(2).Imu(g));
  ASSERT_EQ(probe.samples.size(), 1U);
  const ImuMsg& imu = probe.samples[0];
  EXPECT_EQ(imu.valid, 1);
  EXPECT_EQ(imu.timestamp, kTime);
  const double rate = 2.0345e-5 * 3.141592653589793;
  EXPECT_FLOAT_EQ(imu.angular_velocity_x, static_cast<float>(-32767 * rate));
  EXPECT_FLOAT_EQ(imu.angular_velocity_y, static_cast<float>(1000 * rate));
  EXPECT_FLOAT_EQ(imu.angular_velocity_z, static_cast<float>(2000 * rate));
  EXPECT_FLOAT_EQ(imu.linear_acceleration_x, -300 * 0.004788403F);
  EXPECT_FLOAT_EQ(imu.linear_acceleration_y, 100 * 0.004788403F);
  EXPECT_FLOAT_EQ(imu.linear_acceleration_z, 200 * 0.004788403F);
  for (std::size_t axis = 0; axis < 6; ++axis) {
    std::array<int, 6> other = g;
    ++other[axis];
    probe.Decode(Packet(3).Imu(other));
    probe.Decode(Packet(3).Imu(g));
  }
  EXPECT_EQ(probe.samples.size(), 13U) << "each of the six counts";
  probe.decoder.InstallImuMsg(nullptr);
  probe.Decode(Packet(3).Imu({}));
  probe.decoder.InstallImuMsg(std::make_shared<ImuMsg>());
  probe.Decode(Packet(3).Imu({}));
  EXPECT_EQ(probe.samples.size(), 13U) << "used up while nobody took it";
  probe.Decode(Packet(3).Imu({0, 0, 0, 0, 0, 1}));
  EXPECT_TRUE(std::signbit(probe.samples.back().linear_acceleration_x)) << "turned zeros are -0";
}

}  // namespace
}  // namespace orliq::lidar
