// SPDX-License-Identifier: Apache-2.0
#include <gtest/gtest.h>

#include <numeric>

#include "orliq/network/ReceiveThread.h"
#include "support/Loopback.h"

namespace orliq::cli {
namespace {

using std::chrono::milliseconds;
using Bytes = std::vector<std::uint8_t>;

TEST(DatagramQueue, CountsWhatFindsItFullAndHasRoomAgainOnceTaken) {
  const Bytes longest(65507, 1);
  DatagramQueue queue;
  for (int i = 0; i < 1027; ++i) queue.Push({longest.data(), longest.size(), 0.0, {}});
  EXPECT_EQ(queue.Lost(), 3U) << "64 MiB are 1,024 of the longest datagrams";
  auto batch = queue.EmptyBatch();
  for (const std::size_t expected : {1024U, 1U, 0U}) {
    queue.Take(batch, milliseconds(0));
    EXPECT_EQ(batch.entries.size(), expected);
    if (expected == 1024) queue.Push({longest.data(), 1, 0.0, {}});
  }
}

/// Stop may come while datagrams still wait in the socket: none of them may be lost.
TEST(DatagramQueue, HoldsItsBytesAndDatagramsToTheLastOneEachTime) {
  const std::vector<std::uint8_t> bytes(60);
  DatagramQueue queue(100);
  auto batch = queue.EmptyBatch();
  for (std::uint64_t round = 1; round <= 3; ++round) {
    for (const std::size_t size : {60U, 40U, 1U}) queue.Push({bytes.data(), size, 0.0, {}});
    EXPECT_EQ(queue.Lost(), round);
    queue.Take(batch, milliseconds(0));
    EXPECT_EQ(batch.payloads.size(), 100U);
  }
  for (std::size_t i = 0; i < DatagramQueue::kMaxEntries + 2; ++i)
    queue.Push({nullptr, 0, 0.0, {}});
  EXPECT_EQ(queue.Lost(), 5U);
}

TEST(ReceiveThread, KeepsEveryDatagramOfAnySizeThatCameBeforeItStops) {
  const std::uint16_t port = test::FreePort();
  UdpReceiver socket("127.0.0.1", port, UdpReceiver::Sharing::kAlone);
  const test::LoopbackSocket sender;
  const std::size_t sizes[] = {1104, 0, 65507, 1, 1473};
  for (const std::size_t size : sizes) {
    Bytes payload(size);
    std::iota(payload.begin(), payload.end(), std::uint8_t{3});
    sender.Send(port, payload.data(), payload.size());
  }
  DatagramQueue queue;
  ReceiveThread(socket, queue).Stop();
  auto batch = queue.EmptyBatch();
  queue.Take(batch, milliseconds(0));
  ASSERT_EQ(batch.entries.size(), 5U);
  const double now = static_cast<double>(std::time(nullptr));
  for (std::size_t i = 0; i < 5; ++i) {
    const auto& entry = batch.entries[i];
    EXPECT_EQ(entry.bytes, sizes[i]);
    EXPECT_NEAR(entry.time_s, now, 60.0);
    EXPECT_EQ(entry.endpoints.source, (std::array<std::uint8_t, 4>{127, 0, 0, 1}));
    EXPECT_EQ(entry.endpoints.destination, entry.endpoints.source);
    EXPECT_EQ(entry.endpoints.source_port, sender.port());
    EXPECT_EQ(entry.endpoints.destination_port, port);
  }
  EXPECT_EQ(batch.payloads[batch.entries[2].offset + 65506], (65506 + 3) % 256);
}

TEST(UdpReceiver, KnowsHowManyDatagramsTheSystemDropped) {
  const std::uint16_t port = test::FreePort();
  UdpReceiver socket("127.0.0.1", port, UdpReceiver::Sharing::kAlone);
  const test::LoopbackSocket sender;
  const Bytes payload(60000);
  const std::size_t sent = socket.BufferBytes() / payload.size() + 100;  // more than it holds
  for (std::size_t i = 0; i < sent; ++i) sender.Send(port, payload.data(), payload.size());
  std::size_t received = 0;
  while (socket.Receive(milliseconds(0))) ++received;
  EXPECT_GE(socket.Dropped(), 100U);
  EXPECT_EQ(received + socket.Dropped(), sent);
}

}  // namespace
}  // namespace orliq::cli
