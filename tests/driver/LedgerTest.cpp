// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <fstream>
#include <random>
#include <utility>

#include "multi_driver/OrliqDriver.h"
#include "support/LiveSensor.h"

namespace orliq::lidar {
namespace {

using Sensor = test::LiveSensor<Point>;
using test::Eventually;
using test::JuniqPacket;

/// Times that the threads of the driver were put to sleep so far; and how many run just now.
long Sleeps(int* running = nullptr) {
  long sleeps = 0;
  for (const auto& thread : std::filesystem::directory_iterator("/proc/self/task")) {
    std::string name, word;
    std::ifstream(thread.path() / "comm") >> name;
    std::ifstream status(thread.path() / "status");
    while (name.rfind("orliq-", 0) == 0 && status >> word) {
      if (running != nullptr && word == "(running)") ++*running;
      if (word != "voluntary_ctxt_switches:") continue;
      status >> word;
      sleeps += std::stol(word);
    }
  }
  return sleeps;
}

TEST(Ledger, ADriverAtRestSleeps) {
  Sensor sensor;
  ASSERT_TRUE(sensor.Open());
  sensor.driver->Stop();
  ASSERT_TRUE(sensor.driver->Start());
  for (unsigned i = 1; i <= 100 && !HasFailure(); ++i) {
    sensor.Send(JuniqPacket());  // none of them shows the bound of a frame
    sensor.WaitForDecoded(i);
  }
  EXPECT_TRUE(Eventually([last = -1L]() mutable {
    std::this_thread::sleep_for(std::chrono::milliseconds(100));
    return std::exchange(last, Sleeps()) == Sleeps();
  }));
  const long before = Sleeps();
  EXPECT_GT(before, 0);
  std::this_thread::sleep_for(std::chrono::seconds(1));
  int running = 0;
  EXPECT_LE(Sleeps(&running) - before, 5);
  EXPECT_EQ(running, 0);
  sensor.Send(JuniqPacket());
  sensor.WaitForDecoded(101);
}

TEST(Ledger, ASmallSocketBufferCanBeAskedFor) {
  for (const std::uint32_t bytes : {4096U, 8192U}) {
    Sensor sensor;
    sensor.driver->SetSocketBuffer(bytes);
    ASSERT_TRUE(sensor.Open());
    EXPECT_EQ(sensor.Statistics().socket_buffer_bytes, 2 * bytes) << "as the system tells it";
  }
}

TEST(Ledger, EveryDatagramIsInOneCount) {
  constexpr std::size_t kDatagrams = 100'000;
  Sensor sensor;
  ASSERT_TRUE(sensor.driver->SetSourceAddress("127.0.0.1"));
  std::uint64_t packets = 0;  // that have just come
  sensor.driver->RegisterPacketCallBack([&](const RawPacket& packet) {
    const std::chrono::nanoseconds now = std::chrono::system_clock::now().time_since_epoch();
    const auto age = static_cast<std::uint64_t>(now.count()) - packet.arrival_ns;
    if (age < 60'000'000'000) ++packets;
  });
  ASSERT_TRUE(sensor.Open());
  const test::LoopbackSocket stranger(INADDR_LOOPBACK + 8);
  const auto good = JuniqPacket({200, 10}).Block(5, {20, 10, 0}).payload();  // one without a range
  const auto last = JuniqPacket().Block(63, test::kMarker).payload();
  auto wrong_identifier = good;
  wrong_identifier[2] ^= 1U;
  std::mt19937 random(10);
  std::array<std::uint64_t, 6> sent = {};
  for (std::size_t i = 0; i < kDatagrams; ++i) {
    const auto dice = static_cast<unsigned>(random() % 1000);
    const std::size_t kind = dice < 10 ? dice / 2 : dice < 25 ? 4 : 5;
    ++sent[kind];
    const auto send = [&](const test::LoopbackSocket& from, const std::vector<std::uint8_t>& bytes,
                          std::size_t size) { from.Send(sensor.port, bytes.data(), size); };
    if (kind == 0) send(sensor.sender, good, 1103);
    if (kind == 1) send(sensor.sender, wrong_identifier, 1104);
    if (kind == 2) send(sensor.sender, good, 0);
    if (kind == 3) send(stranger, good, 1104);
    if (kind == 4) send(sensor.sender, last, 1104);
    if (kind == 5) send(sensor.sender, good, 1104);
    if (i % 50 != 49) continue;
    ASSERT_TRUE(Eventually([&] {
      const DriverStatistics s = sensor.Statistics();
      return s.received + s.other_source + s.empty == i + 1;
    }));
  }
  const std::uint64_t decoded = sent[4] + sent[5];
  sensor.WaitForDecoded(decoded);
  sensor.driver->Stop();
  const DriverStatistics s = sensor.Statistics();
  EXPECT_EQ(s.received, s.decoded + s.refused_length + s.refused_identifier + s.queued);
  EXPECT_EQ(s.received + s.other_source + s.empty + s.dropped_by_kernel, kDatagrams);
  EXPECT_EQ(packets, s.received - s.queued);
  EXPECT_TRUE(s.refused_length == sent[0] && s.refused_identifier == sent[1]);
  EXPECT_EQ(s.received_bytes, s.received * 1104 - sent[0]);
  EXPECT_TRUE(s.empty == sent[2] && s.other_source == sent[3]);
  EXPECT_TRUE(s.frames == sent[4] && s.short_frames == sent[4]) << "none has 49,152 returns";
  EXPECT_EQ(s.returns, decoded * 64);
  EXPECT_EQ(s.gated, sent[5]);
  std::uint64_t points = 0;
  for (const auto& frame : sensor.frames) points += frame->points.size();
  EXPECT_EQ(s.points, points);
  EXPECT_EQ(s.clock.packets, decoded);
}

}  // namespace
}  // namespace orliq::lidar
