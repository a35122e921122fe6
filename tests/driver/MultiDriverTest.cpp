// SPDX-License-Identifier: Apache-2.0
#include "multi_driver/OrliqMultiDriver.h"

#include <gmock/gmock.h>

#include "multi_driver/Diagnostics.h"
#include "support/JuniqPacket.h"
#include "support/LiveSensor.h"
#include "support/SimulatedCapture.h"

namespace orliq::lidar {
namespace {

using test::Eventually;
using test::MustEnd;
using Cloud = PointCloud<PointSource>;
using Sizes = std::vector<std::size_t>;

const test::JuniqPacket kFrame = test::JuniqPacket().Block(63, test::kMarker);  // 64 points

/// Two Juniqs on ports of this machine, and the driver that fuses them.
struct Robot {
  Robot() {
    for (DriverParam& param : params) {
      param.lidar_type = LidarType::Juniq;
      param.input_param = {"127.0.0.1", test::FreePort(), ""};
    }
    Make();
  }
  ~Robot() {
    MustEnd("the driver", [this] { driver.reset(); });
  }

  void Make() {
    driver = std::make_unique<OrliqMultiDriver<Cloud>>();
    driver->RegisterPointCloudCallBack(
        [this](const std::shared_ptr<Cloud>& cloud) {
          const std::lock_guard lock(mutex);
          clouds.push_back(cloud);
          if (const auto action = std::exchange(armed, nullptr)) action();
        },
        [] { return std::make_shared<Cloud>(); });
    driver->RegisterPacketCallBack([this](std::size_t index, const RawPacket& packet) {
      const std::lock_guard lock(mutex);
      if (packet.size == kFrame.size()) ++packets.at(index);
    });
  }
  bool Init() { return driver->InitDriver({0, params.size(), params.data()}); }
  bool Open() { return Init() && driver->Start(); }
  void Send(std::size_t index) {
    sensor.Send(params[index].input_param.port, kFrame.data(), kFrame.size());
  }
  std::size_t Clouds() {
    const std::lock_guard lock(mutex);
    return clouds.size();
  }
  /// Sends a frame of each sensor, and waits for what comes of them.
  testing::AssertionResult Round() {
    const std::size_t before = Clouds();
    for (std::size_t i = 0; i < params.size(); ++i) Send(i);
    return Eventually([&] { return Clouds() > before; });
  }
  void InReceiver(const std::function<void()>& action) {
    {
      const std::lock_guard lock(mutex);
      armed = action;
    }
    EXPECT_TRUE(Round());
    EXPECT_TRUE(Eventually([this] {
      const std::lock_guard lock(mutex);
      return armed == nullptr;
    }));
  }

  test::LoopbackSocket sensor;
  std::vector<DriverParam> params = std::vector<DriverParam>(2);
  std::mutex mutex;
  std::vector<std::shared_ptr<Cloud>> clouds;  // guarded by mutex
  std::vector<std::size_t> packets = {0, 0};   // handed over, by sensor; guarded by mutex
  std::function<void()> armed;                 // what the next receiver does; guarded by mutex
  std::unique_ptr<OrliqMultiDriver<Cloud>> driver;
};

TEST(MultiDriver, FusesLiveSensorsAndTellsOfEach) {
  Robot robot;
  FusionRound round;
  ASSERT_TRUE(robot.Init());
  const auto threads = test::ThreadsAtRest();
  ASSERT_TRUE(robot.driver->Start());
  EXPECT_FALSE(robot.driver->GetFusionRound(round));
  ASSERT_TRUE(robot.Round() && robot.Round());
  robot.Send(1);
  const auto received = [&](std::size_t index) {
    DriverStatistics statistics;
    return robot.driver->GetStatistics(index, statistics) ? statistics.received : 99;
  };
  EXPECT_TRUE(Eventually([&] { return robot.driver->IsFrameWaiting(1); }));
  EXPECT_FALSE(robot.driver->IsFrameWaiting(0) || robot.driver->IsFrameWaiting(2));
  EXPECT_TRUE(received(0) == 2 && received(1) == 3 && received(2) == 99);
  EXPECT_TRUE(robot.driver->GetFusionRound(round) && round.number == 2);
  EXPECT_EQ(round.sensors.size(), 2U);
  robot.driver->UpdateTransform({});
  robot.driver->Stop();
  EXPECT_EQ(test::ThreadsAtRest(), threads);
  EXPECT_EQ(robot.packets, (Sizes{2, 3}));
  ASSERT_EQ(robot.clouds.size(), 2U) << "the third frame of one sensor waits for the other's";
  const Cloud& cloud = *robot.clouds[1];
  ASSERT_EQ(cloud.points.size(), 128U);
  EXPECT_TRUE(cloud.points[63].source[0] == 0 && cloud.points[64].source[0] == 1);
  EXPECT_EQ(cloud.timestamp, 0.0) << "only the points are written";
  CalibrationStatus status;
  EXPECT_TRUE(robot.driver->GetCalibrationStatus(1, status) &&
              !robot.driver->GetCalibrationStatus(2, status));
}

TEST(MultiDriver, KeepsTheSensorsBeforeOneThatFails) {
  Robot robot;
  robot.params[1].lidar_type = {};
  EXPECT_FALSE(robot.Init());
  EXPECT_EQ(robot.driver->SensorCount(), 1U);
  robot.params[1].lidar_type = LidarType::Juniq;
  ASSERT_TRUE(robot.Open()) << "in place of the earlier one, which had the first port";
  EXPECT_EQ(robot.driver->SensorCount(), 2U);
  EXPECT_TRUE(robot.Round());
  EXPECT_FALSE(robot.driver->InitDriver({0, 1, nullptr}));

  FusionRound round;
  EXPECT_FALSE(robot.driver->GetFusionRound(round)) << "of the sensors that there are no more";
  ASSERT_TRUE(robot.driver->InitDriver({}));
  EXPECT_TRUE(robot.driver->Start());
  int status = 7;
  EXPECT_FALSE(robot.driver->SetLocalFrame(0) || robot.driver->GetLocalFileStatus(status));
  EXPECT_EQ(status, 7);
  robot.driver->Stop();
  EXPECT_FALSE(robot.driver->SetSourceAddress(0, "nobody"));
  ASSERT_TRUE(robot.driver->SetSourceAddress(1, "127.0.0.9"));
  ASSERT_TRUE(robot.Open());
  robot.Send(1);
  EXPECT_TRUE(Eventually([&] {
    DriverStatistics statistics;
    return robot.driver->GetStatistics(1, statistics) && statistics.other_source == 1;
  }));
}

TEST(MultiDriver, StopsRestartsAndEndsFromInsideTheReceiver) {
  Robot robot;
  ASSERT_TRUE(robot.Open());
  robot.InReceiver([&] { robot.driver->Stop(); });
  ASSERT_TRUE(robot.driver->Start());
  robot.InReceiver([&] {
    robot.driver->Stop();
    EXPECT_TRUE(robot.driver->Start());
  });
  EXPECT_TRUE(robot.Round());
  robot.InReceiver([&] { EXPECT_TRUE(robot.Open()); });
  EXPECT_TRUE(robot.Round());
  robot.InReceiver([&] { robot.driver.reset(); });
  robot.Make();
  EXPECT_TRUE(robot.Open() && robot.Round());
}

TEST(MultiDriver, AsksStrictlyForTheCalibrationOfASensor) {
  Robot robot;
  robot.params[0].param_source = 1;
  robot.params[0].calibration_param.remote_address = "127.0.0.1";
  robot.params[0].calibration_param.remote_port = robot.sensor.port();
  robot.driver->SetStrictUpload(true);
  ASSERT_TRUE(robot.Open());
  sockaddr_in asker = {};
  ASSERT_TRUE(robot.sensor.Receive(test::kDeadline, &asker)) << "a request";
  test::LoopbackSocket(INADDR_LOOPBACK + 8).Send(ntohs(asker.sin_port), "?", 1);
  DriverStatistics statistics;
  EXPECT_TRUE(Eventually([&] {
    return robot.driver->GetStatistics(0, statistics) && statistics.upload.other_source == 1;
  })) << "only a strict upload counts them apart";
}

TEST(MultiDriver, LimitsTheQueueOfEverySensor) {
  Robot robot;
  ASSERT_TRUE(robot.Open());
  robot.driver->SetQueueLimit(2);
  std::promise<void> go;
  std::atomic<int> held{0};
  SetDiagnosticSink([&held, gone = go.get_future().share()](auto& /*line*/, auto /*stream*/) {
    ++held;
    gone.wait_for(test::kDeadline);
  });
  for (const auto& param : robot.params) robot.sensor.Send(param.input_param.port, "?", 1);
  EXPECT_TRUE(Eventually([&] { return held == 2; })) << "by the line that tells of what is refused";
  for (std::size_t i = 0; i < 10; ++i) robot.Send(i % 2);
  for (const std::size_t sensor : {0U, 1U}) {
    DriverStatistics counts;
    EXPECT_TRUE(Eventually([&] {
      return robot.driver->GetStatistics(sensor, counts) && counts.dropped_by_limit == 3;
    })) << sensor;
  }
  go.set_value();
  SetDiagnosticSink({});
}

TEST(MultiDriver, PlaysTheSameFrameOfEveryCapture) {
  const test::SimulatedCapture glavor(1, {}, "glavor");
  const test::SimulatedCapture juniq(2);
  Robot robot;
  for (DriverParam& param : robot.params) param.input_type = InputType::Pcap;
  robot.params[0].input_param = {"", 0, glavor.capture};
  robot.params[0].lidar_type = LidarType::Glavor;
  robot.params[1].input_param = {"", 0, juniq.capture};
  ASSERT_TRUE(robot.Open());
  int frames = 0;
  ASSERT_TRUE(Eventually([&] { return robot.driver->GetLocalFileStatus(frames); }));
  EXPECT_EQ(frames, 2) << "of the shorter one, with what is behind its last mark";
  EXPECT_FALSE(robot.driver->SetLocalFrame(2)) << "only one of them has it";
  ASSERT_TRUE(Eventually([&] { return robot.driver->IsFrameWaiting(1); })) << "that one plays it";
  ASSERT_TRUE(Eventually([&] { return !robot.driver->IsLocalFramePlaying(1); }));
  ASSERT_TRUE(robot.driver->SetLocalFrame(0));
  ASSERT_TRUE(Eventually([&] { return robot.Clouds() == 1; }));
  FusionRound round;
  ASSERT_TRUE(robot.driver->GetFusionRound(round));
  EXPECT_EQ(round.sensors.at(0).points, 49152U);
  EXPECT_EQ(robot.clouds[0]->points.size(), round.sensors[1].points + 49152);
  const auto played = [&robot](std::size_t sensor) {
    DriverStatistics s;
    return robot.driver->GetStatistics(sensor, s) ? std::pair(s.frames, s.points)
                                                  : std::pair(std::uint64_t{9}, std::uint64_t{9});
  };
  EXPECT_EQ(played(0), std::pair(std::uint64_t{1}, std::uint64_t{49152}));
  EXPECT_TRUE(Eventually([&] { return played(1).first == 2; })) << "one waits, or was replaced";
}

}  // namespace
}  // namespace orliq::lidar
