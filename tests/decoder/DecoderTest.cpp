// SPDX-License-Identifier: Apache-2.0
#include "decoder/Decoder.h"

#include <gmock/gmock.h>

#include <cmath>
#include <iostream>

#include "common/WallClock.h"
#include "common/Wire.h"
#include "decoder/DecoderFactory.h"
#include "multi_driver/SensorModels.h"
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
    CaptureStdout();
  }
  void TearDown() override { SetWallClockForTesting(nullptr); }
};

TEST_F(FaultReports, LengthIsPrintedEveryTimeAndReportedOncePerTwoSeconds) {
  JuniqProbe<Point> probe;
  std::string lines;
  for (const int seconds : {0, 1, 1, -100}) {  // at 0, 1 and 2 s, and with the clock set back
    fake_time += seconds;
    EXPECT_FALSE(probe.decoder.ProcessMsopPacket(JuniqPacket().data(), 1103, 0));
    lines += "ProcessMsopPacket MSOP_LEN:1104 size:1103\n";
  }
  EXPECT_FALSE(probe.decoder.ProcessMsopPacket(JuniqPacket().data(), 1105, 0));
  EXPECT_EQ(GetCapturedStdout(), lines + "ProcessMsopPacket MSOP_LEN:1104 size:1105\n");
  EXPECT_THAT(probe.errors, ElementsAre(0x141, 0x141));
  EXPECT_TRUE(probe.points().empty());
}

TEST_F(FaultReports, EachIdentifierByteCounts) {
  JuniqProbe<Point> probe;
  std::string lines;
  for (std::size_t i = 0; i < 8; ++i) {
    fake_time += 2;
    EXPECT_FALSE(probe.Decode(JuniqPacket().Put(i, 1, 0x10))) << i;  // stands in no place
    lines += "ProcessMsopPacket MSOP_ID\n";
  }
  EXPECT_EQ(GetCapturedStdout(), lines);
  EXPECT_EQ(probe.errors, std::vector<std::uint32_t>(8, 0x142));
}

TEST_F(FaultReports, TheLimitIsSharedByTheSensorsOfAPointTypeAndByNothingElse) {
  JuniqProbe<Point> first;
  JuniqProbe<Point> second;
  JuniqProbe<PointTime> other_type;
  first.decoder.ProcessMsopPacket(nullptr, 1, 0);
  second.decoder.ProcessMsopPacket(nullptr, 1, 0);      // suppressed: same point type
  other_type.decoder.ProcessMsopPacket(nullptr, 1, 0);  // its own limit
  std::uint16_t start = 77;
  EXPECT_FALSE(second.decoder.toSplite(nullptr, 1, start));  // its own limit, and silent
  EXPECT_FALSE(second.decoder.toSplite(JuniqPacket().Put(0, 1, 0).data(), 1104, start));
  const std::string line = "ProcessMsopPacket MSOP_LEN:1104 size:1\n";
  EXPECT_EQ(GetCapturedStdout(), line + line + line);
  EXPECT_EQ(start, 77);
  EXPECT_THAT(first.errors, ElementsAre(0x141));
  EXPECT_THAT(second.errors, ElementsAre(0x141, 0x142));
  EXPECT_THAT(other_type.errors, ElementsAre(0x141));
}

TEST(ExtrinsicTransformTest, RotatesRollThenPitchThenYawThenShifts) {
  // A quarter turn about each axis: roll takes (1,2,3) to (1,-3,2), pitch to (2,-3,-1), yaw to
  // (3,2,-1); the shift gives (13,22,29). 90 deg x pi x 0.005555556 is 1.26e-7 rad beyond that.
  float x = 1.0F, y = 2.0F, z = 3.0F;
  ExtrinsicTransform({1, 10.0F, 20.0F, 30.0F, 90.0F, 90.0F, 90.0F}).Apply(x, y, z);
  EXPECT_NEAR(x, 13.0F, 2e-6F);
  EXPECT_NEAR(y, 22.0F, 4e-6F);
  EXPECT_NEAR(z, 29.0F, 4e-6F);
  x = 1e6F;  // so far out the 1.26e-7 rad show
  y = 0.0F;
  ExtrinsicTransform({1, 0, 0, 0, 0, 0, 90.0F}).Apply(x, y, z);
  EXPECT_NEAR(x, -0.12566F, 0.0001F);
}

TEST(WireIntegers, ReadTheirBytesInTheirOrderWithTheirSign) {
  EXPECT_EQ((Le<3>{{0x01, 0x02, 0xF3}}), 0xF30201U);
  EXPECT_EQ((Be<3>{{0xF1, 0x02, 0x03}}), 0xF10203U);
  EXPECT_EQ((Le<2, std::int16_t>{{0xFE, 0xFF}}), -2);
  EXPECT_EQ((Be<2, std::int16_t>{{0xFF, 0xFE}}), -2);
}

TEST(SensorModelsTest, AreFoundByNameAndTypeAndTheFactoryMakesThemAllAndNoOther) {
  using Factory = DecoderFactory<PointCloud<Point>>;
  const std::pair<std::string, int> names[] = {{"juniq", 0x40},  {"glavor", 0x21}, {"fennix", 0x20},
                                               {"corvik", 0x10}, {"brantis", 1},   {"hestra", 0x30},
                                               {"kelvane", 0x50}};
  std::cout << std::hex;  // the application's own formatting must not reach the lines
  CaptureStdout();
  std::string lines;
  for (const auto& [name, type] : names) {
    const SensorModel* const model = FindSensorModel(name);
    EXPECT_EQ(model, FindSensorModel(static_cast<LidarType>(type)));
    EXPECT_TRUE(Factory::CreateDecoder(model->type, {})) << name;
    lines += "type:" + std::to_string(type) + '\n';
  }
  EXPECT_FALSE(Factory::CreateDecoder(static_cast<LidarType>(0x22), {}));
  std::cout << std::dec;
  EXPECT_EQ(GetCapturedStdout(),
            lines +
                "type:34\n"
                "\033[1m\033[31mWrong LiDAR Type. Please check your LiDAR Version! \033[0m\n");
  EXPECT_EQ(FindSensorModel("Juniq "), nullptr);
  EXPECT_EQ(FindSensorModel(static_cast<LidarType>(0x22)), nullptr);
}

}  // namespace
}  // namespace orliq::lidar
