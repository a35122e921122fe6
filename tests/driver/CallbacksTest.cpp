// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <pthread.h>

#include <iostream>
#include <set>

#include "support/GentleSender.h"
#include "support/LiveSensor.h"
#include "support/TickingClock.h"

namespace orliq::lidar {
namespace {

using test::CountEntries;
using test::Eventually;
using test::JuniqPacket;
using test::kMarker;
using Sensor = test::LiveSensor<Point>;

const JuniqPacket kPacket;
const JuniqPacket kLast = JuniqPacket().Block(63, kMarker);

TEST(Callbacks, TheApplicationIsAskedLastAndOnlyForAPortThatIsBound) {
  Sensor sensor;
  sensor.provider = [] {
    std::cout << "cloud\n";
    return std::make_shared<PointCloud<Point>>();
  };
  sensor.imu_provider = [] {
    std::cout << "imu\n";
    return std::make_shared<ImuMsg>();
  };
  const auto descriptors = CountEntries("/proc/self/fd");
  std::vector<DriverParam> bad(3, sensor.Param());
  bad[0].input_param.local_ip = "nowhere";
  bad[1].param_source = 1;
  bad[1].calibration_param.local_port = 65536;
  bad[2].input_param.local_ip = "nowhere";
  bad[2].param_source = 1;
  testing::internal::CaptureStdout();
  testing::internal::CaptureStderr();
  CalibrationStatus status;
  for (const DriverParam& param : bad) EXPECT_FALSE(sensor.driver->InitDriver(param));
  EXPECT_FALSE(sensor.driver->GetCalibrationStatus(status));
  EXPECT_EQ(CountEntries("/proc/self/fd"), descriptors + 2) << "the two of the capturing";
  EXPECT_TRUE(sensor.driver->InitDriver(sensor.Param()));
  EXPECT_EQ(testing::internal::GetCapturedStderr(),
            "bind failed: Invalid argument\nbind failed: Invalid argument\n"
            "bind failed: Invalid argument\n");
  EXPECT_EQ(testing::internal::GetCapturedStdout(),
            "type:64\nLoadCheckFolder failed!\n"
            "type:64\n"
            "type:64\n"
            "type:64\nLoadCheckFolder failed!\ncloud\nimu\n");
  EXPECT_TRUE(sensor.driver->GetCalibrationStatus(status));
  EXPECT_TRUE(status.source == CalibrationSource::None && !status.loaded);
}

TEST(Callbacks, AllCallbacksRunOnOneNamedThread) {
  Sensor sensor;
  std::set<std::string> names;
  const auto note = [&] {
    char name[16] = {};
    pthread_getname_np(pthread_self(), name, sizeof name);
    names.insert(name);
  };
  sensor.on_frame = sensor.on_imu = sensor.on_error = note;
  const test::TickingClock clock;
  ASSERT_TRUE(sensor.Open());
  sensor.Send(std::vector<std::uint8_t>(99));
  sensor.Send(JuniqPacket().Put(2, 1, 0));
  sensor.Send(kLast);
  sensor.WaitForDecoded(1);
  sensor.driver->Stop();
  EXPECT_THAT(names, testing::ElementsAre(testing::StartsWith("orliq-dec-")));
  EXPECT_EQ(sensor.samples.size(), 1U);
  EXPECT_THAT(sensor.errors, testing::ElementsAre(0x41, 0x42));
  const DriverStatistics s = sensor.Statistics();
  EXPECT_EQ(s.received, 3U);
  EXPECT_EQ(s.received_bytes, 99U + 1104 + 1104);
  EXPECT_EQ(s.refused_length, 1U);
  EXPECT_EQ(s.last_refused_length, 99U);
  EXPECT_EQ(s.refused_identifier, 1U);
  EXPECT_EQ(s.decoded, 1U);
  EXPECT_EQ(s.queued + s.dropped_by_kernel + s.dropped_by_limit + s.receive_errors, 0U);
  EXPECT_GE(s.last_packet_age_s, 0.0);
}

TEST(Callbacks, EachPacketIsHandedOverAsItCameBeforeItIsDecoded) {
  const test::TickingClock clock;  // or the second fault would not be reported
  Sensor sensor;
  const test::LoopbackSocket other(INADDR_LOOPBACK + 1);
  const std::vector<std::vector<std::uint8_t>> sent = {
      std::vector<std::uint8_t>(99, 7), JuniqPacket().Put(2, 1, 0).payload(), kLast.payload()};
  std::vector<std::vector<std::uint8_t>> came;
  sensor.driver->RegisterPacketCallBack([&](const RawPacket& packet) {
    came.emplace_back(packet.data, packet.data + packet.size);
    EXPECT_EQ(sensor.errors.size() + sensor.frames.size() + 1, came.size());
    EXPECT_EQ(packet.sender.address, INADDR_LOOPBACK);
    EXPECT_EQ(packet.sender.port, sensor.sender.port());
  });
  sensor.driver->SetSourceAddress("127.0.0.1");
  ASSERT_TRUE(sensor.Open());
  other.Send(sensor.port, kPacket.data(), kPacket.size());
  for (const auto& payload : sent) sensor.Send(payload);
  sensor.WaitForDecoded(1);
  sensor.driver->Stop();
  EXPECT_EQ(came, sent);
}

TEST(Callbacks, AProviderWithNothingToGiveIsAskedAgain) {
  Sensor sensor;
  int clouds = 0;
  int messages = 0;
  sensor.provider = [&] { return ++clouds == 1 ? nullptr : std::make_shared<PointCloud<Point>>(); };
  sensor.imu_provider = [&] { return ++messages == 2 ? nullptr : std::make_shared<ImuMsg>(); };
  ASSERT_TRUE(sensor.Open());
  for (unsigned stamp = 1; stamp <= 3; ++stamp) {
    sensor.Send(JuniqPacket().Block(63, kMarker).Imu({}, stamp));
    if (stamp == 1) sensor.Send(kPacket, 5);  // whose samples nobody can take
  }
  ASSERT_TRUE(sensor.WaitFor(2));
  sensor.WaitForDecoded(8);
  sensor.driver->Stop();
  EXPECT_EQ(clouds, 4);
  EXPECT_EQ(sensor.samples.size(), 3U) << "asked at the end of the second frame";
  EXPECT_EQ(messages, 5);
}

/// As of a sensor whose packets never end a frame, here after most of them.
TEST(Callbacks, AnEndlessFrameIsHandedOverBeforeItFillsTheMemory) {
  std::size_t points = 4194304 - 65;  // which the driver asks for until it ends
  Sensor sensor;
  sensor.provider = [&] {
    auto cloud = std::make_shared<PointCloud<Point>>();
    cloud->points.resize(std::exchange(points, 0));
    return cloud;
  };
  ASSERT_TRUE(sensor.Open());
  sensor.Send(kPacket);
  sensor.WaitForDecoded(1);
  sensor.Send(kPacket);
  ASSERT_TRUE(sensor.WaitFor(1));
  EXPECT_EQ(sensor.frames[0]->points.size(), 4194304 + 63U);
  EXPECT_EQ(sensor.frames[0]->timestamp, 0.0);
  sensor.Send(kLast);
  ASSERT_TRUE(sensor.WaitFor(2));
  EXPECT_EQ(sensor.frames[1]->points.size(), 64U);
}

TEST(Callbacks, NoCallbackFollowsTheOneThatStopped) {
  const test::TickingClock clock;
  const struct {
    char stops;  // packet, error, frame, cloud, IMU sample, message
    const char* until_stop;
    const char* after_restart;
  } rows[] = {{'p', "cmp", "pfcimpfcim"}, {'e', "cmpe", "pfcimpfcim"}, {'f', "cmpepf", "cpfcim"},
              {'c', "cmpepfc", "pfcim"},  {'i', "cmpepfci", "mpfcim"}, {'m', "cmpepfcim", "pfcim"},
              {'-', "cmpepfcim", "pfcim"}};
  for (const auto& row : rows) {
    SCOPED_TRACE(row.stops);
    Sensor sensor;
    std::string calls;
    std::atomic<bool> armed{false};
    const auto note = [&](char call) {
      calls += call;
      if (call == row.stops && armed.exchange(false)) sensor.driver->Stop();
    };
    sensor.driver->RegisterPacketCallBack([&](const RawPacket&) { note('p'); });
    sensor.on_error = [&] { note('e'); };
    sensor.on_frame = [&] { note('f'); };
    sensor.on_imu = [&] { note('i'); };
    sensor.provider = [&] { return note('c'), std::make_shared<PointCloud<Point>>(); };
    sensor.imu_provider = [&] { return note('m'), std::make_shared<ImuMsg>(); };
    ASSERT_TRUE(sensor.driver->InitDriver(sensor.Param()));
    armed = true;
    ASSERT_TRUE(sensor.driver->Start());
    sensor.Send(std::vector<std::uint8_t>(99));
    sensor.Send(kLast);
    EXPECT_TRUE(Eventually([&] { return !armed || sensor.Statistics().decoded == 1; }));
    sensor.driver->Stop();
    EXPECT_EQ(calls, row.until_stop);
    calls.clear();
    ASSERT_TRUE(sensor.driver->Start());
    sensor.Send(kLast);
    sensor.WaitForDecoded(2);
    sensor.driver->Stop();
    EXPECT_EQ(calls, row.after_restart);
  }
}

TEST(Callbacks, ADriverThatIsDestroyedInACallbackGivesItsPortBackAtOnce) {
  Sensor sensor;
  std::atomic<long> waiting{0};
  sensor.on_frame = [&] {
    sensor.driver.reset();
    waiting = test::BytesWaiting(sensor.port);
  };
  ASSERT_TRUE(sensor.Open());
  sensor.Send(kLast);
  EXPECT_TRUE(sensor.WaitFor(1)) << "the callback ends";
  EXPECT_EQ(waiting, -1) << "nobody is bound to it";
}

}  // namespace
}  // namespace orliq::lidar
