// SPDX-License-Identifier: Apache-2.0
#include "manager/PacketFlow.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <chrono>
#include <thread>

#include "support/Patience.h"

namespace orliq::lidar {
namespace {

/// Gives the same answer to each look; counts who waits for it.
struct Source final : Input {
  bool Init() override { return true; }
  int RecvPacket(std::shared_ptr<Buffer>&, const int&, long*, const bool&) override { return 0; }
  int RecvWaiting(std::vector<std::shared_ptr<Buffer>>&, std::size_t most) override {
    // Farther apart than close ones, but not as far as a sleep of a loaded machine would have them.
    const auto begin = std::chrono::steady_clock::now();
    while (std::chrono::steady_clock::now() - begin < std::chrono::microseconds(35)) {
    }
    asked = most;
    left_out += foreign;
    const std::size_t given = std::min(waiting, wanted);
    waiting -= given;
    return static_cast<int>(given);
  }
  void WaitForPackets(const WakeDescriptor&) override { ++waits; }
  std::uint64_t SocketBufferBytes() const override { return room; }
  std::uint64_t OtherSourceDatagrams() const override { return left_out; }

  std::size_t wanted = 24;  // in one look
  std::size_t waiting = SIZE_MAX;
  std::uint64_t foreign = 0;
  std::uint64_t room = 6 * 1024 * 16;
  int waits = 0;
  std::size_t asked = 0;
  std::uint64_t left_out = 0;
};

/// Whether some look is not followed by a wait but by a pause, as packets so dense may gather.
bool Gathers(PacketFlow& flow, Source& source, int looks, bool bounds = false) {
  for (int i = 0; i < looks; ++i) {
    const int before = source.waits;
    flow.Receive(source, [&](const Buffer&) { return bounds && i % 200 == 0; });
    while (flow.Take()) {
    }
    if (source.waits == before) return true;
  }
  return false;
}

TEST(PacketFlow, LetsPacketsGatherOnlyWhereThereIsRoomForThem) {
  const struct {
    std::uint64_t room, limit;
    bool gathers;
  } rows[] = {{98304, 0, true}, {98303, 0, false}, {98304, 63, false}, {98304, 64, true}};
  for (const auto& row : rows) {
    PacketFlow flow;
    Source source;
    source.room = row.room;
    flow.SetLimit(row.limit);
    flow.BeginReceiving(source);
    EXPECT_EQ(Gathers(flow, source, row.gathers ? 10000 : 100), row.gathers) << row.room;
    if (!row.gathers) continue;
    source.wanted = 0;
    const int before = source.waits;
    flow.Receive(source, [](const Buffer&) { return false; });
    EXPECT_EQ(source.asked, 64U) << "for all that have gathered";
    EXPECT_EQ(source.waits, before + 1) << "nothing came: nothing to pause for";
  }
}

TEST(PacketFlow, LearnsTheRhythmFromTheBounds) {
  PacketFlow flow;
  Source source;
  source.wanted = 1;
  flow.BeginReceiving(source);
  EXPECT_FALSE(Gathers(flow, source, 300));
  EXPECT_TRUE(Gathers(flow, source, 10000, true));
}

TEST(PacketFlow, DatagramsThatAreLeftOutTakeRoomAsWell) {
  PacketFlow flow;
  Source source;
  source.wanted = 1;
  source.foreign = 63;
  source.room = 0;
  flow.BeginReceiving(source);
  EXPECT_TRUE(Gathers(flow, source, 1)) << "a full batch: more may be waiting, nobody waits";
  source.foreign = 23;
  source.room = 98304;
  flow.BeginReceiving(source);
  EXPECT_TRUE(Gathers(flow, source, 10000)) << "they come as densely as wanted ones";
}

TEST(PacketFlow, TakesAllThatWaitsAtItsEndButNotAFlood) {
  const struct {
    std::size_t waiting, taken;
  } rows[] = {{14500, 14500}, {16384, 16384}, {SIZE_MAX, 16384}};
  for (const auto& row : rows) {
    PacketFlow flow;
    Source source;
    source.wanted = 64;
    source.waiting = row.waiting;
    flow.ReceiveRest(source, [](const Buffer&) { return false; });
    DriverStatistics counts;
    flow.Count(counts);
    EXPECT_EQ(counts.received, row.taken);
    EXPECT_EQ(counts.queued, row.taken);
    EXPECT_EQ(source.asked, 64U) << "a look for each would take far longer";
  }
}

TEST(PacketFlow, WakesTheDecoderBeforeALimitGivesPacketsUp) {
  const struct {
    std::uint64_t limit;
    int packets;
  } rows[] = {{1, 1}, {4, 2}, {31, 15}};
  for (const auto& row : rows) {
    PacketFlow flow;
    Source source;
    source.wanted = 1;
    flow.SetLimit(row.limit);
    int at_once = 0;
    for (int round = 0; round < 20; ++round) {
      std::this_thread::sleep_for(std::chrono::milliseconds(3));  // after which any packet wakes it
      for (const bool just_woken : {false, true}) {
        const int packets = just_woken ? row.packets : 1;
        for (int i = 0; i < packets; ++i) flow.Receive(source, [](const Buffer&) { return false; });
        const auto begin = std::chrono::steady_clock::now();
        flow.WaitForPackets();
        const auto waited = std::chrono::steady_clock::now() - begin;
        at_once += just_woken && waited < std::chrono::milliseconds(9);
        while (flow.Take()) {
        }
      }
    }
    EXPECT_GE(at_once, 10) << "not woken, it looks again after 10 ms";
  }
}

}  // namespace
}  // namespace orliq::lidar
