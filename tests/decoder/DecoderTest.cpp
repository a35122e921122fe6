// SPDX-License-Identifier: Apache-2.0
#include "decoder/Decoder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <cstring>
#include <functional>
#include <iostream>

#include "common/WallClock.h"
#include "decoder/DecoderFactory.h"
#include "support/DecoderProbe.h"

namespace orliq::lidar {
namespace {

using test::JuniqPacket;
using test::JuniqProbe;
using testing::ElementsAre;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

std::time_t fake_time = 0;

class FaultReports : public testing::Test {
 protected:
  void SetUp() override {
    // Report times are kept for the life of the process: start every test well after the last.
    fake_time += 1000;
    SetWallClockForTesting([] { return fake_time; });
  }
  void TearDown() override { SetWallClockForTesting(nullptr); }

  template <typename P>
  static std::vector<std::uint32_t> Codes(const JuniqProbe<P>& probe) {
    std::vector<std::uint32_t> codes;
    for (const Error& error : probe.errors) {
      EXPECT_EQ(error.level, 1U);
      codes.push_back(error.code);
    }
    return codes;
  }
};

TEST_F(FaultReports, LengthIsPrintedEveryTimeAndReportedOncePerTwoSeconds) {
  JuniqProbe<Point> probe;
  const JuniqPacket packet;
  CaptureStdout();
  for (const int seconds : {0, 1, 1, -100}) {  // at 0, 1 and 2 s, and with the clock set back
    fake_time += seconds;
    EXPECT_FALSE(probe.decoder.ProcessMsopPacket(packet.data(), 1103, 0));
  }
  EXPECT_FALSE(probe.decoder.ProcessMsopPacket(packet.data(), 1105, 0));
  const std::string line = "ProcessMsopPacket MSOP_LEN:1104 size:1103\n";
  EXPECT_EQ(GetCapturedStdout(),
            line + line + line + line + "ProcessMsopPacket MSOP_LEN:1104 size:1105\n");
  EXPECT_THAT(Codes(probe), ElementsAre(0x41, 0x41));
  EXPECT_TRUE(probe.points().empty());
}

TEST_F(FaultReports, EachIdentifierByteCounts) {
  JuniqProbe<Point> probe;
  CaptureStdout();
  for (std::size_t i = 0; i < 8; ++i) {
    fake_time += 2;
    JuniqPacket packet;
    packet.Put(i, 1, packet.data()[i] ^ 0x10U);
    EXPECT_FALSE(probe.Decode(packet)) << i;
  }
  std::string lines;
  for (int i = 0; i < 8; ++i) lines += "ProcessMsopPacket MSOP_ID\n";
  EXPECT_EQ(GetCapturedStdout(), lines);
  EXPECT_EQ(Codes(probe), std::vector<std::uint32_t>(8, 0x42));
}

TEST_F(FaultReports, TheLimitIsSharedByTheSensorsOfAPointTypeAndByNothingElse) {
  JuniqProbe<Point> first;
  JuniqProbe<Point> second;
  JuniqProbe<PointTime> other_type;
  std::uint16_t start = 77;
  CaptureStdout();
  first.decoder.ProcessMsopPacket(nullptr, 1, 0);
  second.decoder.ProcessMsopPacket(nullptr, 1, 0);      // suppressed: same point type
  other_type.decoder.ProcessMsopPacket(nullptr, 1, 0);  // its own limit
  EXPECT_NE(GetCapturedStdout(), "");
  CaptureStdout();
  EXPECT_FALSE(second.decoder.toSplite(nullptr, 1, start));  // its own limit, and silent
  EXPECT_FALSE(second.decoder.toSplite(JuniqPacket().Put(0, 1, 0).data(), 1104, start));
  EXPECT_EQ(GetCapturedStdout(), "");
  EXPECT_THAT(Codes(first), ElementsAre(0x41));
  EXPECT_THAT(Codes(second), ElementsAre(0x41, 0x42));
  EXPECT_THAT(Codes(other_type), ElementsAre(0x41));
  EXPECT_EQ(start, 77);
}

TEST(PacketTime, FollowsTheCalendarAndAddsMicrosecondsAsTheyStand) {
  const struct {
    unsigned year, month, day, hour, minute, second, microsecond;
    double expected;
    const char* why;
  } rows[] = {
      {1970, 1, 1, 0, 0, 0, 999999, 0.999999, "epoch"},
      {2024, 2, 29, 12, 0, 1, 500000, 1709208001.5, "leap day"},
      {2023, 11, 14, 22, 13, 20, 0, 1700000000.0, "a round number of seconds"},
      {1970, 1, 1, 0, 0, 0, 0xFFFFFF, 16.777215, "24 bits of microseconds are not clamped"},
  };
  for (const auto& row : rows) {
    UTCBlock utc = {};
    const JuniqPacket packet = JuniqPacket().Time(row.year, row.month, row.day, row.hour,
                                                  row.minute, row.second, row.microsecond);
    std::memcpy(&utc, packet.data() + 1078, sizeof utc);
    EXPECT_DOUBLE_EQ(Decoder<PointCloud<Point>>::GetTimeUTCWithUs(utc), row.expected) << row.why;
  }
}

TEST(ExtrinsicTransformTest, RotatesRollThenPitchThenYawThenShifts) {
  // A quarter turn about each axis: roll takes (1,2,3) to (1,-3,2), pitch to (2,-3,-1), yaw to
  // (3,2,-1); the shift gives (13,22,29).
  DecoderParam param;
  param.transform_param = {1, 10.0F, 20.0F, 30.0F, 90.0F, 90.0F, 90.0F};
  const ExtrinsicTransform transform(param.transform_param);
  float x = 1.0F;
  float y = 2.0F;
  float z = 3.0F;
  transform.Apply(x, y, z);
  // 90 deg x pi x 0.005555556 is 1.26e-7 rad beyond a quarter turn.
  EXPECT_NEAR(x, 13.0F, 2e-6F);
  EXPECT_NEAR(y, 22.0F, 4e-6F);
  EXPECT_NEAR(z, 29.0F, 4e-6F);
}

TEST(ExtrinsicTransformTest, UsesTheDecimalFactorAndNotOneOverPi) {
  // Far out the 1.26e-7 rad show: at 1e6 m a quarter turn of yaw leaves x at -0.1257 m.
  const ExtrinsicTransform transform({1, 0, 0, 0, 0, 0, 90.0F});
  float x = 1e6F;
  float y = 0.0F;
  float z = 0.0F;
  transform.Apply(x, y, z);
  EXPECT_NEAR(x, -0.12566F, 0.0001F);
}

TEST(DecoderGates, LimitsAreInclusiveAndNanIsOutside) {
  DecoderParam param;
  param.min_distance = 0.4F;
  param.max_distance = 230.0F;
  param.max_azimuth = 59.37F;
  const JuniqProbe<Point> probe(param);
  const float above = std::nextafter(230.0F, 300.0F);
  const float nan = std::nanf("");
  EXPECT_TRUE(probe.decoder.IsDistanceRange(0.4F));
  EXPECT_TRUE(probe.decoder.IsDistanceRange(230.0F));
  EXPECT_FALSE(probe.decoder.IsDistanceRange(above));
  EXPECT_FALSE(probe.decoder.IsDistanceRange(nan));
  EXPECT_TRUE(probe.decoder.IsAngleRange(59.37F, -90.0F));
  EXPECT_FALSE(probe.decoder.IsAngleRange(59.38F, 0.0F));
  EXPECT_FALSE(probe.decoder.IsAngleRange(0.0F, 90.01F));
  EXPECT_FALSE(probe.decoder.IsAngleRange(nan, 0.0F));
}

TEST(DecoderFactoryTest, PrintsTheTypeAndRefusesAModelWithoutDecoder) {
  const std::string red =
      "\033[1m\033[31mWrong LiDAR Type. Please check your LiDAR Version! \033[0m\n";
  const auto create = [](std::uint32_t type) {
    return DecoderFactory<PointCloud<Point>>::CreateDecoder(static_cast<LidarType>(type), {});
  };
  std::cout << std::hex;  // the application's own formatting must not reach the lines
  CaptureStdout();
  EXPECT_EQ(create(0x22), nullptr);
  EXPECT_EQ(GetCapturedStdout(), "type:34\n" + red);
  CaptureStdout();
  EXPECT_NE(create(0x40), nullptr);
  EXPECT_EQ(GetCapturedStdout(), "type:64\n");
  std::cout << std::dec;
}

}  // namespace
}  // namespace orliq::lidar
