// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>
#include <pthread.h>

#include <cstring>
#include <iostream>
#include <set>

#include "support/CaptureBuilder.h"
#include "support/GentleSender.h"
#include "support/LiveSensor.h"
#include "support/SimulatedCapture.h"
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

TEST(Live, TheApplicationIsAskedLastAndOnlyForAPortThatIsBound) {
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

TEST(Live, AllCallbacksRunOnOneNamedThread) {
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

TEST(Live, StopLeavesNothingBehindThatHadCome) {
  Sensor sensor;
  ASSERT_TRUE(sensor.Open());
  const JuniqPacket last = JuniqPacket().Block(63, test::kMarker);
  for (int i = 0; i <= 600; ++i) {
    std::this_thread::sleep_for(std::chrono::microseconds(100));
    i % 200 == 0 ? sensor.Send(last) : sensor.Send(JuniqPacket());
  }
  sensor.Settle();
  sensor.Send(JuniqPacket(), 10);  // fewer than the receiving thread takes at once
  sensor.driver->Stop();
  EXPECT_EQ(sensor.Statistics().received, 611U);
}

TEST(Live, OnlyTheChosenSenderCountsLiveAndInACapture) {
  Sensor sensor;
  for (const char* wrong : {"127.0.0", "localhost", "0.0.0.0", "127.0.0.1 "}) {
    EXPECT_FALSE(sensor.driver->SetSourceAddress(wrong)) << wrong;
  }
  const test::LoopbackSocket other(INADDR_LOOPBACK + 1);
  for (const auto& [address, expected] : {std::pair("127.0.0.2", 1U), std::pair("", 2U)}) {
    EXPECT_TRUE(sensor.driver->SetSourceAddress(address));
    ASSERT_TRUE(sensor.Open());
    sensor.sender.Send(sensor.port, kPacket.data(), kPacket.size());
    other.Send(sensor.port, kPacket.data(), kPacket.size());
    EXPECT_TRUE(Eventually([&sensor, expected = expected] {
      const DriverStatistics s = sensor.Statistics();
      return s.received == expected && s.other_source == 2 - expected;
    }));
  }
  auto foreign = test::CaptureBuilder::Frame(kLast.payload(), 2368);
  foreign[29] = 201;
  const test::TempDir folder;
  const std::string capture =
      test::CaptureBuilder().Record(foreign).Udp(kLast).Record(foreign).Write(folder / "c.pcap");
  EXPECT_EQ(test::Playback<Point>().Open(capture), 3);
  test::Playback<Point> chosen;
  EXPECT_TRUE(chosen.driver->SetSourceAddress("192.168.1.201"));
  EXPECT_EQ(chosen.Open(capture), 2);
}

TEST(Live, EachPacketIsHandedOverAsItCameBeforeItIsDecoded) {
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

TEST(Live, StartAndStopCanBeRepeatedAndARestartGoesOnWithTheOldFrame) {
  Sensor sensor;
  DriverParam param = sensor.Param();
  param.decoder_param.transform_param.z = 5.0F;
  sensor.driver->Stop();
  const auto threads = test::ThreadsAtRest();
  ASSERT_TRUE(sensor.driver->InitDriver(param) && sensor.driver->Start());
  EXPECT_TRUE(sensor.driver->Start());
  EXPECT_EQ(CountEntries("/proc/self/task"), threads + 2) << "one of each";
  int frames = 0;
  EXPECT_FALSE(sensor.driver->SetLocalFrame(0) || sensor.driver->GetLocalFileStatus(frames));
  sensor.Send(kPacket, 2);
  sensor.WaitForDecoded(2);
  for (int i = 0; i < 2; ++i) sensor.driver->Stop();
  EXPECT_TRUE(Eventually([&] { return CountEntries("/proc/self/task") == threads; }));
  sensor.Send(kPacket);  // waits in the socket
  sensor.driver->UpdateTransform({1, 0, 0, 0, 0, 0, 0});
  EXPECT_TRUE(sensor.driver->Start());
  sensor.Send(kLast);
  ASSERT_TRUE(sensor.WaitFor(1));
  ASSERT_EQ(sensor.frames[0]->points.size(), 4 * 64U);
  EXPECT_EQ(sensor.frames[0]->points[127].z, 0.0F);
  EXPECT_EQ(sensor.frames[0]->points[128].z, 5.0F);
}

TEST(Live, AProviderWithNothingToGiveIsAskedAgain) {
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
TEST(Live, AnEndlessFrameIsHandedOverBeforeItFillsTheMemory) {
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

TEST(Live, NoCallbackFollowsTheOneThatStopped) {
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

TEST(Live, AFailedReceiveIsCountedAndTheNextOneWorks) {
  Sensor sensor;
  ASSERT_TRUE(sensor.driver->InitDriver(sensor.Param()));
  int descriptor = 0;  // of the driver's socket
  sockaddr_in peer = {};
  while (ntohs(peer.sin_port) != sensor.port) {
    socklen_t size = sizeof peer;
    ASSERT_LT(++descriptor, 1000);
    ::getsockname(descriptor, reinterpret_cast<sockaddr*>(&peer), &size);
  }
  const auto connect = [&] {
    return ::connect(descriptor, reinterpret_cast<const sockaddr*>(&peer), sizeof peer);
  };
  peer.sin_port = htons(test::FreePort());
  ASSERT_EQ(connect(), 0);
  ASSERT_EQ(::send(descriptor, "", 1, 0), 1);  // nobody is there: the system reports it once
  ASSERT_TRUE(sensor.driver->Start());
  EXPECT_TRUE(Eventually([&] { return sensor.Statistics().receive_errors == 1; }));
  sensor.driver->Stop();
  peer.sin_family = AF_UNSPEC;
  ASSERT_EQ(connect(), 0) << "takes back the connection";
  ASSERT_TRUE(sensor.driver->Start());
  sensor.Send(kLast);
  sensor.WaitForDecoded(1);
  EXPECT_EQ(sensor.Statistics().receive_errors, 1U);
}

TEST(Live, ADriverThatIsDestroyedInACallbackGivesItsPortBackAtOnce) {
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

TEST(Live, AStalledConsumerLosesNothingAndItsBuffersAreGivenBack) {
  Sensor sensor;
  test::Hold hold;
  sensor.on_frame = std::ref(hold);
  ASSERT_TRUE(sensor.Open());
  sensor.Send(kLast);
  sensor.Send(kPacket, 12000);
  sensor.Send(kLast);
  sensor.Settle();
  EXPECT_GE(sensor.Statistics().queued_max, 12000U);
  EXPECT_GE(sensor.Statistics().buffers, 12000U);
  hold.go.set_value();
  sensor.WaitForDecoded(12002);
  sensor.driver->Stop();
  std::size_t points = 0;
  for (const auto& frame : sensor.frames) points += frame->points.size();
  EXPECT_EQ(points, 12002U * 64);
  EXPECT_EQ(sensor.Statistics().buffers, 8192U);
}

TEST(Live, ALimitGivesUpTheOldestPacketsAndCountsThem) {
  Sensor sensor;
  test::Hold hold;
  sensor.on_frame = std::ref(hold);
  ASSERT_TRUE(sensor.Open());
  sensor.driver->SetQueueLimit(100);
  sensor.Send(kLast);
  ASSERT_TRUE(hold.Reached());
  for (unsigned i = 0; i < 250; ++i) {
    sensor.Send(JuniqPacket({20, 10, 6400, i}).Block(63, {0x7F, 0xBF, 6400, i}));
  }
  EXPECT_TRUE(Eventually([&] { return sensor.Statistics().dropped_by_limit == 150; }));
  EXPECT_EQ(sensor.Statistics().queued, 100U);
  EXPECT_EQ(sensor.Statistics().queued_max, 100U);
  hold.go.set_value();
  sensor.WaitForDecoded(101);
  sensor.driver->Stop();
  EXPECT_EQ(sensor.frames[1]->points[0].intensity, 150);
}

}  // namespace
}  // namespace orliq::lidar
