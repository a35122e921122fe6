// SPDX-License-Identifier: Apache-2.0
#include "param/ParamLoader.h"

#include <gmock/gmock.h>

#include "simulator/sending/ParamServer.h"
#include "support/CheckImageBytes.h"
#include "support/Loopback.h"
#include "support/Patience.h"

namespace orliq::lidar {
namespace {

using test::Bytes;
using test::Eventually;
using test::Reply;
using test::operator+;  // NOLINT(misc-unused-using-decls): the check overlooks operators
using namespace std::chrono_literals;

/// What a sensor is asked for, by its own table of offsets: `last`, offset, length.
using Asked = std::tuple<int, unsigned, unsigned>;

/// A loader, and a sensor whose every reply the test gives.
struct Exchange {
  explicit Exchange(bool strict = false, bool known = true, LidarType type = LidarType::Juniq) {
    CalibrationParam param;
    param.local_port = port;
    param.local_address = "127.0.0.1";
    if (known) param.remote_address = "127.0.0.1";
    if (known) param.remote_port = sensor.port();
    channel = std::make_shared<UDPSelect>(param);
    EXPECT_TRUE(channel->Init());
    loader.emplace(type, service, channel, strict);
    Start();
  }
  ~Exchange() { loader->StopLoad(); }

  void Start() { EXPECT_TRUE(loader->StartLoad("orliq-load-test", service)); }
  void Answer(const Bytes& reply) { sensor.Send(port, reply.data(), reply.size()); }
  UploadStatistics Count() const {
    UploadStatistics statistics;
    loader->Count(statistics);
    return statistics;
  }
  Asked Next() {
    const auto request = sensor.Receive(5s).value_or(Bytes(12));
    EXPECT_EQ(request.size(), 12U);
    EXPECT_THAT(Bytes(request.begin(), request.begin() + 4), testing::Each(0xA5));
    unsigned sum = 0;
    for (std::size_t i = 0; i < 11; ++i) sum += request[i];
    EXPECT_EQ(request[11], sum % 256);
    const unsigned offset = request[5] | request[6] << 8 | request[7] << 16 | request[8] << 24;
    return {request[4], offset, request[9] | request[10] << 8};
  }
  /// The next request that differs from that one.
  Asked NextAfter(const Asked& same) {
    Asked asked = same;
    for (int i = 0; i < 50 && asked == same; ++i) asked = Next();
    return asked;
  }

  test::LoopbackSocket sensor;
  std::uint16_t port = test::FreePort();
  std::shared_ptr<ParamService> service = std::make_shared<ParamService>();
  std::shared_ptr<UDPSelect> channel;
  std::optional<ParamLoader> loader;
};

const Asked kFirst = {0, 0, 1000};

TEST(ParamLoader, AsksPieceByPieceAndAgainWithoutAnAnswer) {
  const auto begin = std::chrono::steady_clock::now();
  Exchange upload;
  EXPECT_EQ(upload.sensor.Receive(5s),
            (Bytes{0xA5, 0xA5, 0xA5, 0xA5, 0, 0, 0, 0, 0, 0xE8, 0x03, 0x7F}));
  EXPECT_EQ(upload.Next(), kFirst) << "again, as nothing came";
  EXPECT_EQ(upload.Count().state, UploadState::Asking);
  upload.Answer(Reply(2532, Bytes(1000)));
  upload.Answer(Reply(2532, Bytes(1000)));  // to the second request: no piece of its own
  EXPECT_EQ(upload.NextAfter(kFirst), Asked(0, 1000, 1000));
  EXPECT_EQ(upload.Count().state, UploadState::Receiving);
  upload.Answer(Reply(2532, Bytes(1000)));
  const Asked last(1, 2000, 500);
  EXPECT_EQ(upload.NextAfter({0, 1000, 1000}), last);
  EXPECT_FALSE(upload.loader->IsFinished() || upload.loader->UseTables(7));
  upload.Answer(Reply(2532, Bytes(500)));
  ASSERT_TRUE(Eventually([&] { return upload.loader->IsFinished(); }));
  EXPECT_EQ(upload.Count().state, UploadState::Received);
  EXPECT_TRUE(upload.loader->UseTables(7) && !upload.loader->UseTables(8));
  upload.Answer(Bytes(5));
  EXPECT_TRUE(Eventually([&] { return upload.Count().discarded == 2; })) << "the socket is emptied";

  const UploadStatistics s = upload.Count();
  EXPECT_EQ(s.state, UploadState::InUse);
  EXPECT_TRUE(s.total_bytes == 2500 && s.received_bytes == 2500 && s.replies == 3);
  EXPECT_TRUE(s.repeated >= 1 && s.requests == 3 + s.repeated && s.send_errors == 0);
  EXPECT_EQ(s.decoded_before_use, 7U);
  const std::chrono::duration<double> elapsed = std::chrono::steady_clock::now() - begin;
  EXPECT_TRUE(s.duration_s > 0.0 && s.duration_s < elapsed.count());
  EXPECT_TRUE(s.sensor.address == INADDR_LOOPBACK && s.sensor.port == upload.sensor.port());
}

TEST(ParamLoader, AWrongMarkerCountsAsAnAnswer) {
  Exchange upload;
  EXPECT_EQ(upload.Next(), kFirst);
  upload.Answer(Reply(0x7FFFFFFF, Bytes(1000)));
  upload.Answer(Bytes(38, 'Z'));
  upload.Answer({});
  EXPECT_EQ(upload.Next(), kFirst) << "neither of these does";
  upload.Answer(Bytes(1039, 'Q'));
  EXPECT_EQ(upload.NextAfter(kFirst), Asked(0, 1000, 65535));
  upload.Answer(Bytes(39, 'Q'));
  EXPECT_EQ(upload.NextAfter({0, 1000, 65535}), Asked(0, 66535, 65535));
  const UploadStatistics s = upload.Count();
  EXPECT_TRUE(s.wrong_marker == 2 && s.unusable == 2 && s.replies == 0 && s.received_bytes == 0);
}

TEST(ParamLoader, AStrictOneTakesOnlyThePieceItAskedForFromWhomItAsked) {
  Exchange upload(true);
  EXPECT_EQ(upload.Next(), kFirst);
  const test::LoopbackSocket other;
  const Bytes good = Reply(2532, Bytes(1000));
  other.Send(upload.port, good.data(), good.size());
  upload.Answer(Bytes(1039, 'Q'));
  upload.Answer(Bytes(50, 'Q'));
  upload.Answer(Reply(2532, Bytes(999)));
  upload.Answer(Reply(2532, Bytes(1001)));
  upload.Answer(Reply(0, Bytes(1000)));
  upload.Answer(Reply(32, {}));
  EXPECT_EQ(upload.Next(), kFirst);
  upload.Answer(good);
  EXPECT_EQ(upload.NextAfter(kFirst), Asked(0, 1000, 1000));
  UploadStatistics s = upload.Count();
  EXPECT_TRUE(s.other_source == 1 && s.wrong_marker == 2 && s.unusable == 4 && s.replies == 1);

  Exchange small(true);
  EXPECT_EQ(small.Next(), kFirst);
  small.Answer(Reply(132, Bytes(100)));
  EXPECT_TRUE(Eventually([&] { return small.loader->IsFinished(); }))
      << "there is no more than that";
}

TEST(ParamLoader, AStrictOneTakesNoCopyForTheNextPiece) {
  Exchange upload(true);
  const Bytes a = Reply(9032, test::Piece("AAAA", 996));
  const Bytes b = Reply(9032, test::Piece("BBBB", 996));
  upload.Next();
  upload.Answer(a);
  const Asked second(0, 1000, 1000);
  EXPECT_EQ(upload.NextAfter(kFirst), second);
  upload.Answer(a);
  EXPECT_EQ(upload.Next(), second) << "still";
  EXPECT_EQ(upload.Count().discarded, 1U);
  upload.Answer(b);
  const Asked third(0, 2000, 1000);
  EXPECT_EQ(upload.NextAfter(second), third);
  int answers = 0;
  for (Asked asked = third; asked == third && answers < 30; ++answers) {
    upload.Answer(b);
    asked = upload.Next();
  }
  EXPECT_TRUE(answers >= 3 && answers < 30) << "a table may hold a piece twice";
  for (const unsigned offset : {3000U, 4000U}) {
    upload.Answer(Reply(9032, Bytes(1000, 7)));
    EXPECT_EQ(upload.NextAfter({0, offset, 1000}), Asked(0, offset + 1000, 1000)) << "or a number";
  }
}

TEST(UDPSelect, FillsInWhatIsNotKnownOfTheSensor) {
  const test::LoopbackSocket sensor;
  const test::LoopbackSocket other(INADDR_LOOPBACK + 1);
  std::uint8_t bytes[4] = {};
  const std::uint16_t port = test::FreePort();
  UDPSelect any_host({port, "127.0.0.1", 7, "", ""});
  ASSERT_TRUE(any_host.Init());
  EXPECT_TRUE(!any_host.KnowsRemote() && !any_host.SendData(bytes, 4));
  EXPECT_EQ(any_host.RecvData(bytes, 4), 0);
  sensor.Send(port, "12345", 5);
  EXPECT_EQ(any_host.RecvData(bytes, 4), 4);
  EXPECT_EQ(bytes[3], '4');
  EXPECT_TRUE(any_host.Remote().address == INADDR_LOOPBACK && any_host.Remote().port == 7);
  other.Send(port, "", 0);
  EXPECT_EQ(any_host.RecvData(bytes, 4), -1);
  EXPECT_EQ(any_host.Remote().address, INADDR_LOOPBACK) << "the first one counts";
  EXPECT_TRUE(UDPSelect({port, "127.0.0.1", 7, "", ""}).Init()) << "the port can be shared";
  any_host.Close();

  UDPSelect any_port({port, "127.0.0.1", 0, "127.0.0.1", ""});
  any_port.AcceptOnlyRemote();
  ASSERT_TRUE(any_port.Init());
  other.Send(port, bytes, 4);
  sensor.Send(port, bytes, 4);
  EXPECT_EQ(any_port.RecvData(bytes, 4), 4);
  EXPECT_TRUE(any_port.OtherSenders() == 1 && any_port.Remote().port == sensor.port());
}

TEST(ParamLoader, LearnsTheSensorFromTheFirstDatagram) {
  Exchange upload(false, false);
  upload.Answer(Reply(2532, Bytes(1000)));
  EXPECT_EQ(upload.Next(), kFirst);
  const UploadStatistics s = upload.Count();
  EXPECT_TRUE(s.replies == 0 && s.discarded == 1 && s.send_errors == 0) << "it was no reply";
  EXPECT_TRUE(s.sensor.address == INADDR_LOOPBACK && s.sensor.port == upload.sensor.port());
}

TEST(ParamLoader, AnUploadInOnePieceEndsWithOneMoreRequest) {
  Exchange upload;
  EXPECT_EQ(upload.Next(), kFirst);
  upload.Answer(Reply(132, Bytes(100)));
  EXPECT_EQ(upload.NextAfter(kFirst), Asked(0, 0, 100));
  EXPECT_TRUE(upload.loader->IsFinished());
  upload.Answer({1});
  EXPECT_TRUE(Eventually([&] { return upload.Count().replies == 2; }));
  upload.Answer({2});
  EXPECT_TRUE(Eventually([&] { return upload.Count().discarded == 1; })) << "no longer asking";
}

TEST(ParamLoader, GoesOnWhereItWasStopped) {
  Exchange upload;
  upload.Next();
  upload.Answer(Reply(3032, Bytes(1000)));
  EXPECT_EQ(upload.NextAfter(kFirst), Asked(0, 1000, 1000));
  upload.loader->StopLoad();
  upload.Answer(Reply(3032, Bytes(1000)));
  upload.Start();
  EXPECT_EQ(upload.NextAfter({0, 1000, 1000}), Asked(1, 2000, 1000));
  EXPECT_EQ(upload.Count().received_bytes, 2000U);
}

/// Whatever comes a second time, too late or out of order would leave the end of the image, with its
/// last table, behind.
TEST(ParamLoader, EveryFaultOfTheWireLeavesTheTablesWhole) {
  using sim::ReplyFault;
  const struct {
    const char* why;
    ReplyFault fault;
    double share;
    bool strict;
    bool one_number = true;
  } rows[] = {
      {"every reply later than the next request", ReplyFault::kDelayed, 1.0, false},
      {"some later", ReplyFault::kDelayed, 0.4, false},
      {"all later, and known", ReplyFault::kDelayed, 1.0, true, false},
      {"all later, of one number", ReplyFault::kDelayed, 1.0, true},
      {"a third lost", ReplyFault::kLost, 0.33, false},
      {"all doubled", ReplyFault::kDuplicated, 1.0, false},
      {"one behind the next", ReplyFault::kSwapped, 0.4, false},
      {"too short", ReplyFault::kShort, 0.4, false},
      {"silent for a second", ReplyFault::kSilence, 0.1, false},
      {"wrong markers", ReplyFault::kWrongMarker, 0.4, true},
      {"a restart, and an unknown sensor", ReplyFault::kLost, 0.0, true},
  };
  using test::Piece;
  const Bytes uniform = Piece("CCCC", 16) + Bytes(5000, 1) + Piece("DDDD", 36);
  const Bytes image = Piece("CCCC", 16) + Piece("none", 5000) + Piece("DDDD", 36);
  std::vector<std::unique_ptr<sim::ParamServer>> sensors;
  std::vector<std::unique_ptr<Exchange>> uploads;  // all at once
  for (const auto& row : rows) {
    sim::ParamServerOptions options;
    options.rates[row.fault] = row.share;
    if (row.share == 0.0) options.restart_after = 3;
    std::error_code error;
    sensors.push_back(sim::ParamServer::Create(options, row.one_number ? uniform : image, error));
    uploads.push_back(std::make_unique<Exchange>(row.strict, false, LidarType::Glavor));
    ASSERT_TRUE(sensors.back()->Greet("127.0.0.1", uploads.back()->port)) << row.why;
  }
  for (std::size_t i = 0; i < uploads.size(); ++i) {
    const Exchange& upload = *uploads[i];
    ASSERT_TRUE(Eventually([&] { return upload.loader->IsFinished(); })) << rows[i].why;
    const auto tables = upload.service->UploadedTables();
    EXPECT_TRUE(tables.at(2).Accepted() && tables.at(3).Accepted()) << rows[i].why;
    EXPECT_EQ(sensors[i]->Counts().faults[rows[i].fault] > 0, rows[i].share > 0.0) << rows[i].why;
    const auto* record =
        reinterpret_cast<const std::uint8_t*>(upload.service->GetCheckParam(LidarType::Glavor));
    const Bytes near_filter(record + 393233, record + 393269);
    EXPECT_EQ(Bytes({'D', 'D', 'D', 'D'}) + near_filter, Piece("DDDD", 36)) << rows[i].why;
  }
}

TEST(ParamLoader, ChecksumsOfAnyLength) {
  std::uint8_t command[] = {200, 100, 7};
  ParamLoader::GetCommand(command, 0);
  EXPECT_EQ(command[0], 200);
  ParamLoader::GetCommand(command, 3);
  EXPECT_THAT(command, testing::ElementsAre(200, 100, 44));
  ParamLoader::GetCommand(command, 1);
  EXPECT_EQ(command[0], 0);
}

}  // namespace
}  // namespace orliq::lidar
