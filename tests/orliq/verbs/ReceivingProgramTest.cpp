// SPDX-License-Identifier: Apache-2.0
// Runs live and record as a user's shell does, with a simulated sensor on the loopback interface.
#include "orliq/network/UdpReceiver.h"
#include "support/GentleSender.h"
#include "support/RunningProgram.h"
#include "support/SimulatedCapture.h"

namespace orliq::cli {
namespace {

using test::JsonValue;
using testing::HasSubstr;
using Packets = std::vector<std::vector<std::uint8_t>>;

/// Four frames of a sensor, each of 768 packets.
const test::SimulatedCapture& Sensor() {
  static const test::SimulatedCapture sensor(4);
  return sensor;
}

Packets SensorPackets(std::ptrdiff_t from, std::ptrdiff_t to) {
  return {Sensor().packets.begin() + from, Sensor().packets.begin() + to};
}

class Receiving : public test::RunningProgram {
 protected:
  /// Starts "orliq ARGUMENTS" with a port and waits until it listens.
  void Listen(const std::string& arguments, const std::string& before = "") {
    Start(arguments + port_option_, before);
    ASSERT_TRUE(test::Eventually([&] { return HasNoted("listening on"); })) << dir_.Read("err");
  }

  const std::uint16_t port_ = test::FreePort();
  const std::string port_option_ = " --port " + std::to_string(port_);
  const std::string tables_ = " --model juniq --check-folder " + Sensor().check_folder;
};

TEST_F(Receiving, RecordsWhatPlayDecodesToTheVerySameFrames) {
  Listen("record --out r.pcap --json");
  ASSERT_TRUE(test::SendAll(Sensor().packets, port_));
  const auto record = Finish(SIGINT);
  ASSERT_EQ(record.code, 0) << record.err;
  const JsonValue facts = JsonValue::Parse(record.out);
  EXPECT_EQ(facts["interrupted"], true);
  const std::string sender = facts["senders"][0].Text();
  EXPECT_EQ(sender.rfind("127.0.0.1:", 0), 0U);
  EXPECT_EQ(facts["packets_by_sender"][sender], Sensor().packets.size());
  EXPECT_EQ(facts["capture_bytes"], std::filesystem::file_size(dir_ / "r.pcap"));
  const std::string with = " --point point-time" + tables_;
  RunJson("play " + Sensor().capture + " --out sent" + with);
  const JsonValue play = RunJson("play r.pcap --out recorded" + with + port_option_);
  EXPECT_EQ(play["senders"].Dump(), "[\"" + sender + "\"]");
  EXPECT_TRUE(Same("recorded", "sent"));
}

TEST_F(Receiving, WritesTheFramesLiveThatPlayWrites) {
  const std::string with = " --point juniq --format csv --min-distance 2" + tables_;
  Listen("live --frames 3 --partial --out live --json" + with);
  ASSERT_TRUE(test::SendAll(SensorPackets(0, 4 * 768 - 20), port_));
  const auto live = Finish();
  ASSERT_EQ(live.code, 0) << live.err;
  EXPECT_THAT(live.err, testing::Not(HasSubstr("another socket"))) << "there is only its own";
  const JsonValue sums = JsonValue::Parse(live.out);
  const JsonValue played = RunJson("play " + Sensor().capture + " --frames :3 --out played" + with);
  EXPECT_TRUE(Same("live", "played"));
  for (const char* const key : {"points_per_frame", "non_zero_points", "files_written"}) {
    EXPECT_EQ(sums[key], played[key]) << key;
  }
  EXPECT_GT(sums["imu_samples"], 0);
  EXPECT_EQ(sums["partial_frames"][0]["kept"], true);
}

TEST_F(Receiving, LeavesOutTheFrameThatHadBegunBeforeAndTellsWhatWasRefused) {
  Packets packets = SensorPackets(700, 3 * 768);
  packets.insert(packets.begin() + 100, {std::vector<std::uint8_t>(1104), packets[0]});
  packets[101].resize(65507);
  Listen("live --frames 1 --out f" + tables_);
  ASSERT_TRUE(test::SendAll(packets, port_));
  const auto live = Finish();
  EXPECT_EQ(live.code, 5);
  EXPECT_THAT(live.out, HasSubstr("Partial frames    left out: 0 with "));
  EXPECT_THAT(live.out, HasSubstr(" 1  refused: of another length (0x41)\n"));
  EXPECT_THAT(live.out, HasSubstr(" 1  refused: with another identifier (0x42)\n"));
  EXPECT_EQ(dir_.Files("f"), std::set<std::string>{"frame_000001.pcd"}) << "keeps its number";
}

TEST_F(Receiving, StopsAtTheLimitsOfARecording) {
  const std::tuple<std::string, int, std::size_t> rows[] = {{"--packets 500", 520, 500},
                                                            {"--max-size 0.201", 200, 172}};
  for (const auto& [limit, sent, recorded] : rows) {
    Listen("record --out r.pcap " + limit);
    ASSERT_TRUE(test::SendAll(SensorPackets(0, sent), port_));
    EXPECT_EQ(Finish().code, 0) << limit;
    EXPECT_EQ(dir_.Read("r.pcap").size(), 24 + recorded * (16 + 42 + 1104)) << limit;
  }
}

TEST_F(Receiving, TellsAtOnceOfAFrameThatItCannotWriteAndOfLimitsThatLeaveNothing) {
  Listen("live --out g" + tables_, "ulimit -f 800;");
  ASSERT_TRUE(test::SendAll(Sensor().packets, port_));
  const std::string told = "frame_000001.pcd: File too large";
  ASSERT_TRUE(test::Eventually([&] { return dir_.Read("err").find(told) != std::string::npos; }));
  EXPECT_THAT(Finish(SIGTERM).out,
              testing::ContainsRegex("0 frames for a slow disk, [1-3] for faults"));
  const std::string err = dir_.Read("err");
  EXPECT_EQ(err.rfind("File too large"), err.find("File too large")) << "once";
  const test::SimulatedCapture kelvane(7, {}, "kelvane");  // may take longer than live waits
  Listen("live --model kelvane --frames 1 --min-distance 400");
  ASSERT_TRUE(test::SendAll(kelvane.packets, port_));
  EXPECT_TRUE(test::Eventually([&] { return HasNoted("no return lies within the limits"); }));
}

TEST_F(Receiving, SaysWhatToCheckWhenNoPacketOfTheModelComes) {
  const UdpReceiver other("127.0.0.1", port_, UdpReceiver::Sharing::kShared);
  dir_.Write("taken", "a letter");
  const test::Refusal rows[] = {
      {"live --model juniq --wait 0.1", 3, "another socket has port"},
      {"live --model juniq --source 0.0.0.0", 2, "must be an IPv4 address of a host"},
      {"live --model juniq --out ''", 2, "an empty name"},
      {"live --model juniq --duration 0.1", 3, "nothing arrived at 0.0.0.0:"},
      {"live --model juniq --address 203.0.113.7", 4, "203.0.113.7 is no address of this machine"},
      {"live --model juniq --out x.ply", 2, "add --frames 1"},
      {"live --model juniq --wait 0.1 --out /proc", 4, "cannot write /proc/frame_000000.pcd"},
      {"record --out taken", 4, "taken is there already and is no capture file"},
      {"record --out r.pcap", 4, "another program holds UDP port"},
      {"record --address 127.0.0.2 --wait 0.1 --out r.pcap", 3, "nothing arrived at 127.0.0.2:"},
      {"record --address 127.0.0.2 --out /dev/full", 4, "/dev/full exists and is not a plain file"},
  };
  for (const auto& row : rows) {
    ExpectRefusal({row.arguments + port_option_, row.code, row.sentence});
    EXPECT_FALSE(exists(dir_ / "r.pcap") || exists(dir_ / "r.pcap.part")) << row.arguments;
  }
}

TEST_F(Receiving, NamesTheSendersOfAPortAndTheModelsWhosePacketsTheySend) {
  const test::LoopbackSocket a, b(INADDR_LOOPBACK + 1);
  const std::string name_a = "127.0.0.1:" + std::to_string(a.port());
  const std::string name_b = "127.0.0.2:" + std::to_string(b.port());
  const auto packet = test::SimulatedCapture(1, {}, "hestra").packets[0];
  const auto send = [&] {
    for (const auto* const socket : {&a, &b, &b}) socket->Send(port_, packet.data(), 1236);
  };
  Listen("live --model juniq --duration 20 --socket-buffer 65536 --json");
  send();
  ASSERT_TRUE(test::Eventually([&] { return HasNoted("mixed"); }));
  const auto mixed = Finish(SIGTERM);
  EXPECT_THAT(mixed.err, HasSubstr(name_a + " and " + name_b + " both sent"));
  EXPECT_EQ(mixed.code, 3);
  EXPECT_THAT(mixed.err, HasSubstr("1236 bytes, as the packets of corvik, brantis or hestra have"));
  const JsonValue sums = JsonValue::Parse(mixed.out);
  EXPECT_EQ(sums["senders"].Dump(), "[\"" + name_a + "\",\"" + name_b + "\"]");
  EXPECT_EQ(sums["refused_length"], 3);
  EXPECT_EQ(sums["packets_of_other_senders"], 2);
  const JsonValue ledger = sums["ledger"]["packets"];
  EXPECT_TRUE(ledger["arrived"] == 3 && ledger["refused_length"] == 3 && ledger["decoded"] == 0);
  EXPECT_TRUE(sums["clock"]["relation"] == "no_packet" && sums["socket_buffer_bytes"] == 131072);
  EXPECT_EQ(sums["interrupted"], true);
  Listen("live --model juniq --source 127.0.0.3 --wait 0.3");
  send();
  const auto chosen = Finish();
  EXPECT_EQ(chosen.code, 3);
  EXPECT_THAT(chosen.err,
              HasSubstr("nothing arrived from 127.0.0.3, but 3 datagrams from " + name_a));
  EXPECT_THAT(chosen.err, testing::Not(HasSubstr("mixed")));
  Listen("live --model corvik");
  send();
  ASSERT_TRUE(test::Eventually([&] { return HasNoted("mixed"); }));
  EXPECT_THAT(Finish(SIGTERM).err, HasSubstr("no frame has ended in "));
}

TEST_F(Receiving, KeepsWhatWasRecordedWhenTheDiskIsFull) {
  Listen("record --out r.pcap", "ulimit -f 800; ");  // 400 kB
  ASSERT_TRUE(test::SendAll(SensorPackets(0, 200), port_));
  // The rest comes once these are on the disk, as the last batch is lost with the disk full.
  ASSERT_TRUE(test::Eventually([&] { return dir_.Read("r.pcap.part").size() == 24 + 200 * 1162; }));
  ASSERT_TRUE(test::SendAll(SensorPackets(200, 400), port_));
  const auto record = Finish();
  EXPECT_EQ(record.code, 4);
  EXPECT_THAT(record.err, HasSubstr("cannot write r.pcap: File too large; the file ends after "));
  const auto records = static_cast<int>(RunJson("info r.pcap")["records"].Whole());
  EXPECT_GE(records, 200);
  EXPECT_THAT(record.err, HasSubstr("after " + std::to_string(records) + " packets"));
  EXPECT_EQ(std::filesystem::file_size(dir_ / "r.pcap"), 24 + records * 1162);
}

}  // namespace
}  // namespace orliq::cli
