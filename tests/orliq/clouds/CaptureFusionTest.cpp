// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CaptureFusion.h"

#include <gmock/gmock.h>

#include <cstring>
#include <numeric>

#include "multi_driver/OrliqMultiDriver.h"
#include "orliq/clouds/RoundPlayer.h"
#include "orliq/terminal/ExitCode.h"
#include "support/CaptureBuilder.h"
#include "support/LiveSensor.h"
#include "support/SimulatedCapture.h"

namespace orliq::cli {
namespace {

using test::Eventually;
using test::MustEnd;
using testing::HasSubstr;
using testing::Property;
using testing::Throws;
using Cloud = PointCloud<PointSource>;

FramesWanted Wanted(const std::string& name, const lidar::DriverParam& param,
                    std::vector<int> entries) {
  return {name, lidar::FindSensorModel(param.lidar_type), param, "", 0, std::move(entries)};
}

/// Two sensors on a robot, each with a capture and a pose of its own.
struct Robot {
  Robot() {
    for (const auto* const capture : {&front, &rear}) {
      params.push_back(test::Playback<PointSource>::Param(capture->capture, capture->check_folder));
      params.back().decoder_param.transform_param = {1, float(params.size()), 0, 0, 0, 0, 90};
    }
  }
  static sim::SensorOptions OfSeed(std::uint64_t seed) {
    sim::SensorOptions options;
    options.seed = seed;
    options.start_time_s += 0.02;  // but a cloud has the time of the first sensor
    return options;
  }

  const test::SimulatedCapture front{6};
  const test::SimulatedCapture rear{6, OfSeed(2)};
  std::vector<lidar::DriverParam> params;
  Cloud cloud;
  std::vector<FusedShare> shares;
};

/// The driver plays one frame number of every capture.
TEST(CaptureFusion, GivesThePointsThatTheDriverOfSeveralSensorsGives) {
  Robot robot;
  OrliqMultiDriver<Cloud> driver;
  std::mutex mutex;
  std::vector<std::shared_ptr<Cloud>> fused;
  driver.RegisterPointCloudCallBack(
      [&](const std::shared_ptr<Cloud>& cloud) {
        const std::lock_guard lock(mutex);
        fused.push_back(cloud);
      },
      [] { return std::make_shared<Cloud>(); });
  int frames = 0;
  ASSERT_TRUE(driver.InitDriver({0, 2, robot.params.data()}) && driver.Start());
  ASSERT_TRUE(Eventually([&] { return driver.GetLocalFileStatus(frames); }));
  const std::vector<int> all = {0, 1, 2, 3, 4, 5};
  CaptureFusion<Cloud> fusion(
      {Wanted("front", robot.params[0], all), Wanted("rear", robot.params[1], all)});
  for (std::size_t k = 0; k < 6; ++k) {
    ASSERT_TRUE(Eventually(
        [&] { return !driver.IsLocalFramePlaying(0) && !driver.IsLocalFramePlaying(1); }));
    ASSERT_TRUE(driver.SetLocalFrame(static_cast<int>(k)));
    ASSERT_TRUE(Eventually([&] {
      const std::lock_guard lock(mutex);
      return fused.size() == k + 1;
    }));
    ASSERT_TRUE(fusion.Next(robot.cloud, robot.shares));
    const auto& points = robot.cloud.points;
    ASSERT_EQ(points.size(), fused[k]->points.size());
    EXPECT_EQ(points[robot.shares[0].points].source[0], 1) << "the second sensor's first";
    EXPECT_EQ(std::memcmp(points.data(), fused[k]->points.data(), 37 * points.size()), 0);
    EXPECT_NEAR(robot.cloud.timestamp, 1700000000.0 + 0.1 * static_cast<double>(k), 0.001);
  }
  EXPECT_FALSE(fusion.Next(robot.cloud, robot.shares));
}

/// The first capture has small frames: its thread waits for room while the second one's frame comes.
TEST(CaptureFusion, EndsItsThreadsWhenItIsLeftInTheMiddle) {
  Robot robot;
  test::CaptureBuilder small;
  for (int i = 0; i < 40; ++i) small.Udp(test::JuniqPacket().Block(63, test::kMarker));
  robot.params[0].input_param.pcap_file = small.Write(robot.front.dir / "small.pcap");
  std::vector<int> all(40);
  std::iota(all.begin(), all.end(), 0);
  const auto threads = test::ThreadsAtRest();
  for (int taken = 0; taken < 6; ++taken) {
    auto fusion = std::make_unique<CaptureFusion<Cloud>>(std::vector<FramesWanted>{
        Wanted("front", robot.params[0], all), Wanted("rear", robot.params[1], {0, 2, 3, 5})});
    for (int i = 0; i < taken; ++i) EXPECT_EQ(fusion->Next(robot.cloud, robot.shares), i < 4);
    EXPECT_TRUE(taken != 3 || (robot.shares[0].frame == 2 && robot.shares[1].frame == 3));
    MustEnd("the fusion", [&] { fusion.reset(); });
    EXPECT_EQ(test::ThreadsAtRest(), threads);
  }
}

/// As fuse plays captures, ahead on threads of their own, and as view does, a round when it is asked.
TEST(CaptureFusion, NamesTheSensorWhoseCaptureFails) {
  Robot robot;
  test::CaptureBuilder endless;  // the driver ends a cloud with 1563 packets
  for (int i = 0; i < 16 * 1563 - 1; ++i) endless.Udp(test::JuniqPacket());
  auto large = robot.params[1], lost = large;
  large.input_param.pcap_file = endless.Write(robot.front.dir / "large.pcap");
  lost.input_param.pcap_file =
      endless.Udp(test::JuniqPacket()).Write(robot.front.dir / "lost.pcap");
  auto gone = robot.params[1];
  gone.input_param.pcap_file += "x";
  const std::pair<FramesWanted, const char*> rows[] = {
      {Wanted("rear", lost, {0}), "rear: frame 0 has no end"},
      {Wanted("rear", gone, {0}), "rear: the driver cannot open"},
      {Wanted("rear", robot.params[1], {0, 7}), "pcap has changed: the driver finds fewer"}};
  const auto both = [&](const FramesWanted& wanted) {
    return std::vector<FramesWanted>{Wanted("front", robot.params[0], {0, 1, 2}), wanted};
  };
  for (const auto& [wanted, sentence] : rows) {
    const auto failure = Throws<Failure>(Property(&Failure::what, HasSubstr(sentence)));
    CaptureFusion<Cloud> fusion(both(wanted));
    const auto fuse = [&, rounds = wanted.entries.size()] {
      for (std::size_t i = 0; i < rounds; ++i) fusion.Next(robot.cloud, robot.shares);
    };
    MustEnd("the fusion", [&] { EXPECT_THAT(fuse, failure); });
    RoundPlayer<Cloud> player(both(wanted));
    std::vector<CloudPart> parts;
    const auto play = [&] {
      player.Open();
      player.Play(0, parts);
    };
    MustEnd("the player", [&] { EXPECT_THAT(play, failure); });
  }
  CaptureFusion<Cloud> fusion(both(Wanted("rear", large, {0})));
  RoundPlayer<Cloud> player(both(Wanted("rear", large, {0})));
  std::vector<CloudPart> parts;
  ASSERT_TRUE(fusion.Next(robot.cloud, robot.shares) && player.Open());
  EXPECT_EQ(robot.shares[1].points, (16 * 1563 - 1) * 64U);
  ASSERT_NE(player.Play(0, parts), nullptr);
  EXPECT_EQ(parts[1].points, (16 * 1563 - 1) * 64U);
}

}  // namespace
}  // namespace orliq::cli
