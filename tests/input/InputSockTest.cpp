// SPDX-License-Identifier: Apache-2.0
#include "input/InputSock.h"

#include <gmock/gmock.h>

#include <chrono>
#include <fstream>

#include "support/Loopback.h"
#include "support/Patience.h"

namespace orliq::lidar {
namespace {

class InputSockTest : public testing::Test {
 protected:
  void Send(std::size_t size, std::uint8_t content = 0) const {
    sender.Send(port, std::vector<std::uint8_t>(size, content).data(), size);
  }
  int Receive(int size = Buffer::kDefaultCapacity) {
    return sock.RecvPacket(buffer, size, nullptr, true);
  }

  test::LoopbackSocket sender;
  std::uint16_t port = test::FreePort();
  InputSock sock{{"127.0.0.1", port, ""}};
  std::shared_ptr<Buffer> buffer = std::make_shared<Buffer>();
};

TEST_F(InputSockTest, DeliversOneDatagramPerCallCutAtTheRoomThereIs) {
  ASSERT_TRUE(sock.Init());
  EXPECT_EQ(Receive(), 0) << "nothing is waiting";
  buffer->data_offset = 42;
  Send(1104, 7);
  EXPECT_EQ(Receive(), 1104);
  EXPECT_EQ(buffer->length, 1104U);
  EXPECT_EQ(buffer->data_offset, 0U);
  EXPECT_EQ(buffer->data[1103], 7);
  Send(2000);
  EXPECT_EQ(Receive(100000), 1546) << "never more than the buffer holds";
  Send(10);
  EXPECT_EQ(Receive(4), 4);
  Send(0);
  EXPECT_EQ(Receive(), 0);
  EXPECT_EQ(buffer->length, 4U);
  Send(5);
  std::shared_ptr<Buffer> none;
  EXPECT_EQ(sock.RecvPacket(none, 1546, nullptr, true), 0);
  EXPECT_EQ(Receive(), 5) << "still there";
  EXPECT_TRUE(sock.SetNonblock() && sock.WaitWriteEvent(0) && !sock.WaitReadEvent(100));
  sock.Close();
  EXPECT_TRUE(Receive() < 0 && !sock.SetNonblock() && !sock.WaitReadEvent(0));
}

TEST_F(InputSockTest, EmptyDatagramsAndThoseOfOtherSendersArePassedOverAndCounted) {
  sock.SetSource(htonl(INADDR_LOOPBACK));
  ASSERT_TRUE(sock.Init());
  const test::LoopbackSocket other(INADDR_LOOPBACK + 1);
  for (std::size_t i = 0; i < 63; ++i) other.Send(port, "junk", i % 2);
  for (int i = 0; i < 65; ++i) Send(i == 0 ? 5 : 0);
  Send(6);
  EXPECT_EQ(Receive(), 5);
  EXPECT_EQ(sock.OtherSourceDatagrams(), 63U);
  EXPECT_EQ(Receive(), 0) << "a flood of them does not keep the caller";
  EXPECT_EQ(Receive(), 6);
  EXPECT_EQ(sock.OtherSourceDatagrams(), 63U);
  EXPECT_EQ(sock.EmptyDatagrams(), 64U);
  const auto seen = sock.SeenSenders();
  EXPECT_EQ(seen.first.address, INADDR_LOOPBACK + 1);
  EXPECT_EQ(seen.first.port, other.port());
  EXPECT_EQ(seen.other.address, INADDR_LOOPBACK);
  EXPECT_EQ(seen.other.port, sender.port());
  EXPECT_EQ(seen.of_others, 66U);
}

TEST_F(InputSockTest, WhatIsWantedOfABatchStandsInFrontAndKeepsItsSender) {
  ASSERT_TRUE(sock.Init());
  const test::LoopbackSocket other(INADDR_LOOPBACK + 1);
  Send(0);
  other.Send(port, "junk", 4);
  Send(0);
  Send(5);
  std::vector<std::shared_ptr<Buffer>> buffers(4);
  EXPECT_EQ(sock.RecvWaiting(buffers, 64), 2);
  EXPECT_EQ(buffers[0]->length, 4U);
  EXPECT_EQ(buffers[0]->sender.address, INADDR_LOOPBACK + 1);
  EXPECT_EQ(buffers[0]->sender.port, other.port());
  EXPECT_EQ(buffers[1]->length, 5U);
  EXPECT_EQ(buffers[1]->sender.port, sender.port());
  other.Send(port, "junk", 4);
  EXPECT_EQ(sock.RecvPacket(buffers[1], 4, nullptr, true), 4);
  EXPECT_EQ(buffers[1]->sender.port, other.port());
}

TEST_F(InputSockTest, AWaitLastsAsLongAsItWasAskedTo) {
  ASSERT_TRUE(sock.Init());
  for (const int timeout_us : {20'000, 1'001'000}) {
    const auto start = std::chrono::steady_clock::now();
    EXPECT_FALSE(sock.WaitReadEvent(timeout_us));
    EXPECT_GE(std::chrono::steady_clock::now() - start, std::chrono::microseconds(timeout_us));
  }
}

TEST_F(InputSockTest, BindsAnyAddressWhenNoneIsGivenAndSharesItsPortWithWhoeverAsks) {
  InputSock any({"", port, ""}), again({"", port, ""});
  ASSERT_TRUE(any.Init() && again.Init() && any.Init());
  for (const int option : {SO_REUSEADDR, SO_REUSEPORT}) {
    const int other = ::socket(AF_INET, SOCK_DGRAM, 0);
    const int on = 1;
    const sockaddr_in address = test::LoopbackSocket::Address(port);
    ::setsockopt(other, SOL_SOCKET, option, &on, sizeof on);
    EXPECT_EQ(::bind(other, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
    ::close(other);
  }
  Send(3);  // one of the two sockets gets it
  EXPECT_TRUE(test::Eventually([&] {
    return any.RecvPacket(buffer, 10, nullptr, true) +
               again.RecvPacket(buffer, 10, nullptr, true) ==
           3;
  }));
}

TEST_F(InputSockTest, AnAddressThatIsNoneOrNotOursIsRefusedWithTheReason) {
  const std::pair<const char*, const char*> refused[] = {
      {"127.0.0.256", "bind failed: Invalid argument\n"},
      {"localhost", "bind failed: Invalid argument\n"},
      {"192.0.2.1", "bind failed: Cannot assign requested address\n"}};
  for (const auto& [address, reason] : refused) {
    InputSock bad({address, port, ""});
    testing::internal::CaptureStderr();
    EXPECT_FALSE(bad.Init());
    EXPECT_EQ(testing::internal::GetCapturedStderr(), reason);
    EXPECT_LT(bad.RecvPacket(buffer, 10, nullptr, true), 0) << "the socket is closed";
  }
}

TEST_F(InputSockTest, ABatchFillsTheBuffersInOrderAndNeverPastTheirEnd) {
  std::vector<std::shared_ptr<Buffer>> buffers(100);
  EXPECT_EQ(sock.RecvBatchPackets(buffers, 64, 1546), -1) << "not bound";
  ASSERT_TRUE(sock.Init());
  EXPECT_EQ(sock.RecvBatchPackets(buffers, 0, 1546), -1);
  EXPECT_EQ(sock.RecvBatchPackets(buffers, 64, 1546), 0) << "nothing is waiting";
  buffers[1] = std::make_shared<Buffer>(8);
  const auto now = [] {
    const auto since_1970 = std::chrono::system_clock::now().time_since_epoch();
    return static_cast<std::uint64_t>(std::chrono::nanoseconds(since_1970).count());
  };
  const std::uint64_t before = now();
  for (std::uint8_t i = 0; i < 70; ++i) Send(20, i);
  EXPECT_EQ(sock.RecvBatchPackets(buffers, 100, 1546), 64);
  EXPECT_TRUE(before <= buffers[63]->arrival_ns && buffers[63]->arrival_ns <= now());
  for (std::uint8_t i = 0; i < 64; ++i) EXPECT_EQ(buffers[i]->data[0], i);
  EXPECT_EQ(buffers[0]->length, 20U);
  EXPECT_EQ(buffers[1]->length, 8U);
  buffers.resize(2);
  EXPECT_EQ(sock.RecvBatchPackets(buffers, 64, 1546), 2) << "one for each buffer";
  EXPECT_EQ(sock.RecvBatchPackets(buffers, 1, 1546), 1);
  EXPECT_EQ(sock.RecvPacket(buffers[0], 1546, nullptr, true), 20);
  EXPECT_EQ(buffers[0]->arrival_ns, 0U) << "of this one nobody was asked";
}

TEST_F(InputSockTest, EveryDatagramIsReceivedOrCountedAsDropped) {
  ASSERT_TRUE(sock.Init());
  std::uint64_t allowed = 0;
  std::ifstream("/proc/sys/net/core/rmem_max") >> allowed;
  EXPECT_EQ(sock.SocketBufferBytes(), 2 * std::min<std::uint64_t>(allowed, 16 << 20));
  const std::uint64_t sent = sock.SocketBufferBytes() / 1000;  // each takes more room than that
  for (std::uint64_t i = 0; i < sent; ++i) Send(1104);
  std::uint64_t received = 0;
  while (Receive() > 0) ++received;
  EXPECT_GT(received, 50U);
  EXPECT_GT(sock.DroppedDatagrams(), 0U);
  EXPECT_EQ(received + sock.DroppedDatagrams(), sent);
}

}  // namespace
}  // namespace orliq::lidar
