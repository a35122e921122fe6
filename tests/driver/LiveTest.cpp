// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include "support/CaptureBuilder.h"
#include "support/LiveSensor.h"
#include "support/TempDir.h"

namespace orliq::lidar {
namespace {

using test::CountEntries;
using test::Eventually;
using test::JuniqPacket;
using test::kMarker;
using Sensor = test::LiveSensor<Point>;

const JuniqPacket kPacket;
const JuniqPacket kLast = JuniqPacket().Block(63, kMarker);

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
