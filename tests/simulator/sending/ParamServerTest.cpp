// SPDX-License-Identifier: Apache-2.0
// Asks over real sockets; requests and replies are written and read by the offsets of the wire.
#include "simulator/sending/ParamServer.h"

#include <gmock/gmock.h>

#include <numeric>

#include "simulator/sensors/CheckImage.h"
#include "simulator/sensors/Sensor.h"
#include "support/GentleSender.h"
#include "support/Loopback.h"

namespace orliq::sim {
namespace {

using Bytes = std::vector<std::uint8_t>;
using std::chrono::milliseconds;
using testing::ElementsAre;
using testing::SizeIs;

Bytes Request(std::uint32_t at, std::uint32_t length) {
  const std::uint32_t fields[] = {0xA5,    0xA5,     0xA5,     0xA5,   0,           at,
                                  at >> 8, at >> 16, at >> 24, length, length >> 8, 0};
  Bytes bytes(std::begin(fields), std::end(fields));
  bytes[11] = static_cast<std::uint8_t>(std::accumulate(bytes.begin(), bytes.end(), 0));
  return bytes;
}

/// Each byte tells where it stands.
Bytes Numbered() {
  Bytes image(300);
  std::iota(image.begin(), image.end(), std::uint8_t{0});
  return image;
}

std::uint32_t Total(const Bytes& reply) {
  return reply[4] | reply[5] << 8 | reply[6] << 16 | std::uint32_t{reply[7]} << 24;
}

/// A server of the image and one who asks it.
struct Exchange {
  explicit Exchange(const ParamServerOptions& options, const Bytes& image = Numbered())
      : server(ParamServer::Create(options, image, error)) {}

  void Send(const Bytes& bytes) {
    socket.Send(server->Port(), bytes.data(), bytes.size());
    ++sent;
  }
  /// Requests for single bytes, the first of them at `begin`.
  void AskForBytes(std::uint32_t begin, std::uint32_t end) {
    for (std::uint32_t i = begin; i < end; ++i) {
      Send(Request(i, 1));
      if (i % 100 == 99) AwaitTaken();  // a socket's buffer holds some 250
    }
  }
  void AwaitTaken() const {
    EXPECT_TRUE(test::Eventually([&] { return Counts().requests + Counts().invalid == sent; }));
  }
  ParamServerCounts Counts() const { return server->Counts(); }
  Bytes Ask(std::uint32_t offset, unsigned length) {
    Send(Request(offset, length));
    return socket.Receive(std::chrono::seconds(20)).value_or(Bytes(39));
  }
  /// All that has come when the server has taken every datagram and ended.
  std::vector<Bytes> Finish() {
    AwaitTaken();
    server->Stop();
    std::vector<Bytes> datagrams;
    while (auto datagram = socket.Receive(milliseconds(0))) datagrams.push_back(*datagram);
    return datagrams;
  }
  std::vector<Bytes> AnswersTo(std::uint32_t requests) {
    AskForBytes(0, requests);
    return Finish();
  }
  std::uint64_t Count(ReplyFault fault) const { return Counts().faults[fault]; }

  std::error_code error;
  const test::LoopbackSocket socket;
  std::unique_ptr<ParamServer> server;
  std::uint64_t sent = 0;
};

ParamServerOptions With(std::initializer_list<std::pair<ReplyFault, double>> rates) {
  ParamServerOptions options;
  for (const auto& [fault, rate] : rates) options.rates[fault] = rate;
  return options;
}

/// The single bytes of undamaged replies.
Bytes Numbers(const std::vector<Bytes>& replies) {
  Bytes numbers;
  for (const Bytes& reply : replies) {
    if (reply.size() == 40) numbers.push_back(reply[36]);
  }
  return numbers;
}

TEST(ParamServer, HandsOutTheTablesOfAModelPieceByPiece) {
  for (const auto& [model, size] : {std::pair("juniq", 589896U), {"glavor", 393284U}}) {
    const Bytes whole = CheckImage(MakeSensor(model, {})->Tables());
    Exchange exchange({}, whole);
    Bytes image;
    for (Bytes reply(40); reply.size() > 39;) {
      reply = exchange.Ask(static_cast<std::uint32_t>(image.size()), 1000);
      EXPECT_EQ(Bytes(reply.begin(), reply.begin() + 4), Bytes(4, 'Z'));
      EXPECT_EQ(Total(reply), size + 32);
      image.insert(image.end(), reply.begin() + 36, reply.end() - 3);
    }
    ASSERT_TRUE(image == whole);
    const std::pair<std::size_t, char> markers[] = {
        {0, 'A'}, {196612, 'B'}, {393224, 'C'}, {393244, 'D'}};
    for (const auto& [place, letter] : markers) EXPECT_EQ(image[place], letter);
    const auto counts = exchange.Counts();
    EXPECT_EQ(counts.requests, (size + 999) / 1000 + 1) << "the last one beyond the end";
    EXPECT_EQ(counts.bytes, size + 39 * counts.requests);
    EXPECT_EQ(counts.images, 1U);
    EXPECT_EQ(counts.image_bytes_served, size);
  }
}

TEST(ParamServer, CountsAnImageOnceEveryByteHasLeftUndamaged) {
  const auto fetch = [](Exchange& exchange, std::uint32_t offset, unsigned length) {
    exchange.Ask(offset, length);
    return exchange.Counts();
  };
  Exchange damaged(With({{ReplyFault::kWrongTotal, 1.0}})), good({});
  EXPECT_EQ(fetch(damaged, 0, 300).images, 0U);
  fetch(good, 0, 100);
  EXPECT_EQ(fetch(good, 200, 100).images, 0U) << "100 bytes are missing";
  EXPECT_EQ(fetch(good, 100, 150).image_bytes_served, 250U);
  for (int repeated = 0; repeated < 3; ++repeated) EXPECT_EQ(fetch(good, 200, 100).images, 1U);
  EXPECT_EQ(fetch(good, 0, 300).images, 2U);
}

TEST(ParamServer, AnswersEveryRequestAndNothingElse) {
  const std::tuple<std::uint32_t, unsigned, std::size_t> rows[] = {
      {0, 0, 39},      {300, 1, 39},    {0xFFFFFFFF, 0xFFFF, 39}, {299, 1000, 40},
      {0, 2009, 2048}, {0, 2010, 2048}, {1, 0xFFFF, 2048},        {2999, 0xFFFF, 40}};
  for (const auto& [offset, length, bytes] : rows) {
    Exchange exchange({}, Bytes(bytes == 2048 || offset == 2999 ? 3000 : 300));
    EXPECT_THAT(exchange.Ask(offset, length), SizeIs(bytes)) << offset << ' ' << length;
  }
  Exchange exchange({});
  for (const std::size_t size : {0, 1, 11, 13, 2000}) {
    Bytes datagram = Request(0, 1);
    datagram.resize(size);
    exchange.Send(datagram);
  }
  for (const std::size_t byte : {0, 3, 4, 10, 11}) {
    Bytes datagram = Request(0, 1);
    datagram[byte] ^= 1;
    if (byte < 4) datagram[11] ^= 1;  // then only the header is wrong
    exchange.Send(datagram);
  }
  EXPECT_THAT(exchange.Finish(), SizeIs(0));
  EXPECT_EQ(exchange.Counts().invalid, 10U);
}

TEST(ParamServer, DamagesRepliesOnlyWhereItIsAskedTo) {
  const Bytes right = Exchange({}).Ask(0, 1);
  Exchange marker(With({{ReplyFault::kWrongMarker, 1.0}}));
  Exchange total(With({{ReplyFault::kWrongTotal, 1.0}}));
  for (auto [exchange, first] : {std::pair(&marker, 0), {&total, 4}}) {
    for (int i = 0; i < 30; ++i) {
      Bytes reply = exchange->Ask(0, 1);
      EXPECT_NE(reply, right);
      std::copy_n(&right[first], 4, &reply[first]);
      EXPECT_EQ(reply, right);
    }
  }
  std::set<std::size_t> sizes;
  for (const Bytes& reply : Exchange(With({{ReplyFault::kShort, 1.0}})).AnswersTo(200)) {
    sizes.insert(reply.size());
  }
  EXPECT_THAT(sizes, testing::AllOf(SizeIs(39), testing::Contains(0), testing::Contains(38)));
}

TEST(ParamServer, LosesRepeatsAndSwapsReplies) {
  Exchange lost(With({{ReplyFault::kLost, 0.2}}));
  const auto left = lost.AnswersTo(100);
  EXPECT_EQ(left.size(), 100 - lost.Count(ReplyFault::kLost));
  EXPECT_LT(left.size(), 100U);
  EXPECT_THAT(Numbers(Exchange(With({{ReplyFault::kDuplicated, 1.0}})).AnswersTo(3)),
              ElementsAre(0, 0, 1, 1, 2, 2));
  Exchange swapped(With({{ReplyFault::kSwapped, 1.0}}));
  EXPECT_THAT(Numbers(swapped.AnswersTo(5)), ElementsAre(1, 0, 3, 2)) << "nothing overtakes 4";
  EXPECT_EQ(swapped.Count(ReplyFault::kSwapped), 2U);

  ParamServerOptions options = With({{ReplyFault::kSilence, 0.05}});
  options.silence = std::chrono::hours(1);
  Exchange silent(options);
  const std::size_t answered = silent.AnswersTo(100).size();
  EXPECT_EQ(answered + silent.Count(ReplyFault::kSilence), 100U);
  options.silence = milliseconds(0);
  EXPECT_GT(Exchange(options).AnswersTo(100).size(), answered + 10) << "each silence is over";
}

TEST(ParamServer, AnswersOtherRequestsWhileAReplyIsDelayed) {
  ParamServerOptions options = With({{ReplyFault::kDelayed, 0.5}});
  options.delay = std::chrono::seconds(1);
  Exchange exchange(options);
  exchange.AskForBytes(0, 30);
  EXPECT_TRUE(test::Eventually([&] { return exchange.Counts().replies == 30; }));
  const Bytes numbers = Numbers(exchange.Finish());
  const auto late = std::is_sorted_until(numbers.begin(), numbers.end());
  EXPECT_EQ(numbers.end() - late, static_cast<int>(exchange.Count(ReplyFault::kDelayed)));
  EXPECT_TRUE(std::is_sorted(late, numbers.end()));

  options = With({{ReplyFault::kDelayed, 1.0}});
  options.delay = std::chrono::hours(1);
  Exchange flooded(options);
  EXPECT_THAT(flooded.AnswersTo(300), SizeIs(0)) << "and ends without waiting for them";
  EXPECT_EQ(flooded.Count(ReplyFault::kDelayed), 256U);
  EXPECT_EQ(flooded.Count(ReplyFault::kLost), 44U);
}

TEST(ParamServer, DecidesTheSameWithTheSameSeed) {
  ParamServerOptions options = With({{ReplyFault::kLost, 0.2},
                                     {ReplyFault::kShort, 0.2},
                                     {ReplyFault::kWrongMarker, 0.2},
                                     {ReplyFault::kWrongTotal, 0.2},
                                     {ReplyFault::kDuplicated, 0.2}});
  const auto first = Exchange(options).AnswersTo(100);
  EXPECT_EQ(Exchange(options).AnswersTo(100), first);
  options.seed = 2;
  EXPECT_NE(Numbers(Exchange(options).AnswersTo(100)), Numbers(first));
  ReplyFaults one(With({{ReplyFault::kDuplicated, 0.5}}).rates, 1);
  ReplyFaults two(With({{ReplyFault::kLost, 0.2}, {ReplyFault::kDuplicated, 0.5}}).rates, 1);
  for (int i = 0; i < 100; ++i) {
    const auto alone = one.Next().fault, fault = two.Next().fault;
    EXPECT_TRUE(fault == alone || fault == ReplyFault::kLost) << i;
  }
}

TEST(ParamServer, LeavesItsPortInARestartAndForgetsWhatWaited) {
  ParamServerOptions options = With({{ReplyFault::kDelayed, 0.5}});
  options.delay = milliseconds(500);
  options.restart_after = 2;
  options.down = std::chrono::seconds(1);
  Exchange exchange(options);
  options.port = exchange.server->Port();
  std::unique_ptr<ParamServer> other;
  const auto takes_port = [&] {
    return (other = ParamServer::Create(options, {}, exchange.error)) != nullptr;
  };
  EXPECT_FALSE(takes_port());
  EXPECT_EQ(exchange.error, std::errc::address_in_use);
  exchange.AskForBytes(0, 4);
  EXPECT_TRUE(test::Eventually(takes_port));
  EXPECT_FALSE(exchange.server->Greet("127.0.0.1", exchange.socket.port())) << "while down";
  other.reset();
  ASSERT_TRUE(test::Eventually([&] { return exchange.Counts().restarts == 1; }));
  ASSERT_EQ(exchange.Count(ReplyFault::kDelayed), 2U) << "of the first four with this seed";
  exchange.AskForBytes(100, 120);
  EXPECT_TRUE(test::Eventually([&] { return exchange.Counts().replies == 22; }));
  Bytes numbers = Numbers(exchange.Finish());
  ASSERT_THAT(numbers, SizeIs(22));
  std::nth_element(numbers.begin(), numbers.begin() + 2, numbers.end());
  EXPECT_EQ(numbers[2], 100) << "only two of those before";
}

}  // namespace
}  // namespace orliq::sim
