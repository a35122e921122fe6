// SPDX-License-Identifier: Apache-2.0
// Runs live and record as a user's shell does, with a simulated sensor on the loopback interface.
#include <gmock/gmock.h>
#include <signal.h>
#include <sys/wait.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "orliq/network/UdpReceiver.h"
#include "support/GentleSender.h"
#include "support/Program.h"
#include "support/SimulatedCapture.h"

namespace orliq::cli {
namespace {

using nlohmann::json;
using test::Outcome;
using testing::HasSubstr;
using Packets = std::vector<std::vector<std::uint8_t>>;

class Receiving : public test::Program {
 protected:
  ~Receiving() override {
    if (child_ <= 0) return;
    kill(child_, SIGKILL);
    waitpid(child_, nullptr, 0);
  }

  /// Starts "orliq ARGUMENTS" with a port and waits until it listens.
  void Listen(const std::string& arguments, const std::string& before = "") {
    const std::string command = "cd '" + dir_.path().string() + "' && " + before +
                                " exec '" ORLIQ_PROGRAM "' " + arguments + " --port " +
                                std::to_string(port_) + " >out 2>err";
    std::filesystem::remove(dir_ / "err");
    child_ = fork();
    if (child_ == 0) {
      execl("/bin/sh", "sh", "-c", command.c_str(), nullptr);
      _exit(127);
    }
    ASSERT_TRUE(test::Eventually([&] { return HasNoted(); })) << Text("err");
  }

  /// Whether it has said that it listens, which it does when all is set up.
  bool HasNoted() const { return Text("err").find("listening on") != std::string::npos; }

  Outcome Finish(int signal = 0) {
    for (int i = 0; i < 2; ++i)
      kill(child_, signal);  // twice, as the program timeout does; 0: none
    int status = 0;
    if (!test::Eventually([&] { return waitpid(child_, &status, WNOHANG) == child_; })) {
      return {-1, "", "it does not end"};
    }
    child_ = -1;
    return {WIFEXITED(status) ? WEXITSTATUS(status) : -1, Text("out"), Text("err")};
  }

  std::string Text(const std::string& name) const {
    std::ifstream file(dir_ / name, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), {}};
  }

  bool Same(const std::string& a, const std::string& b) const {
    const std::string command =
        "diff -r '" + (dir_ / a).string() + "' '" + (dir_ / b).string() + "'";
    return std::system(command.c_str()) == 0;
  }

  const std::uint16_t port_ = test::FreePort();
  pid_t child_ = -1;
};

TEST_F(Receiving, RecordsWhatPlayDecodesToTheVerySameFrames) {
  const test::SimulatedCapture sensor(2);
  Listen("record --out r.pcap --json");
  ASSERT_TRUE(test::SendAll(sensor.packets, port_));
  const auto record = Finish(SIGINT);
  ASSERT_EQ(record.code, 0) << record.err;
  const json facts = json::parse(record.out);
  EXPECT_EQ(facts["interrupted"], true);
  EXPECT_EQ(facts["packets"], sensor.packets.size());
  const std::string sender = facts["senders"].at(0);
  EXPECT_EQ(sender.rfind("127.0.0.1:", 0), 0U);
  EXPECT_EQ(facts["packets_by_sender"][sender], sensor.packets.size());
  EXPECT_EQ(facts["capture_bytes"], std::filesystem::file_size(dir_ / "r.pcap"));
  const std::string with =
      " --model juniq --point point-time --check-folder " + sensor.check_folder;
  ASSERT_EQ(Run("play r.pcap --out recorded" + with).code, 0);
  ASSERT_EQ(Run("play " + sensor.capture + " --out sent" + with).code, 0);
  EXPECT_TRUE(Same("recorded", "sent"));
  const json flow = json::parse(Run("info r.pcap --json").out)["flows"][0];
  EXPECT_EQ(flow["source"], "127.0.0.1");
  EXPECT_EQ(flow["destination_port"], port_);
}

TEST_F(Receiving, WritesTheFramesLiveThatPlayWrites) {
  const test::SimulatedCapture sensor(4);
  const std::string with =
      " --model juniq --point juniq --format csv --min-distance 2 --check-folder " +
      sensor.check_folder;
  Listen("live --frames 3 --partial --out live --json" + with);
  ASSERT_TRUE(test::SendAll({sensor.packets.begin(), sensor.packets.end() - 20}, port_));
  const auto live = Finish();
  ASSERT_EQ(live.code, 0) << live.err;
  const auto play = Run("play " + sensor.capture + " --frames :3 --out played --json" + with);
  EXPECT_TRUE(Same("live", "played"));
  EXPECT_THAT(live.err, testing::Not(HasSubstr("another socket"))) << "there is only its own";
  const json sums = json::parse(live.out);
  const json played = json::parse(play.out);
  for (const char* const key : {"frames", "points", "non_zero_points", "files_written"}) {
    EXPECT_EQ(sums[key], played[key]) << key;
  }
  EXPECT_GT(sums["imu_samples"], 0);
  std::set<int> points;
  for (const json& cloud : played["clouds"]) points.insert(cloud["points"].get<int>());
  EXPECT_EQ(sums["points_per_frame"]["min"], *points.begin());
  EXPECT_EQ(sums["points_per_frame"]["max"], *points.rbegin());
  EXPECT_EQ(sums["partial_frames"][0]["kept"], true);
}

TEST_F(Receiving, LeavesOutTheFrameThatHadBegunBeforeAndKeepsItsNumberFree) {
  const test::SimulatedCapture sensor(3);
  Listen("live --model juniq --frames 1 --out f --check-folder " + sensor.check_folder);
  ASSERT_TRUE(test::SendAll({sensor.packets.begin() + 700, sensor.packets.end()}, port_));
  const auto live = Finish();
  EXPECT_EQ(live.code, 0) << live.err;
  EXPECT_THAT(live.out, HasSubstr("Partial frames    left out: 0 with "));
  EXPECT_TRUE(exists(dir_ / "f/frame_000001.pcd"));
  EXPECT_FALSE(exists(dir_ / "f/frame_000000.pcd") || exists(dir_ / "f/frame_000002.pcd"));
}

TEST_F(Receiving, StopsAtTheLimitsOfARecording) {
  const test::SimulatedCapture sensor(1);
  Listen("record --out r.pcap --packets 500");
  ASSERT_TRUE(test::SendAll({sensor.packets.begin(), sensor.packets.begin() + 520}, port_));
  EXPECT_THAT(Finish().out, HasSubstr("500, "));
  EXPECT_EQ(std::filesystem::file_size(dir_ / "r.pcap"), 24 + 500 * (16 + 42 + 1104));
  Listen("record --out r.pcap --max-size 0.2");
  ASSERT_TRUE(test::SendAll({sensor.packets.begin(), sensor.packets.begin() + 200}, port_));
  EXPECT_EQ(Finish().code, 0);
  EXPECT_EQ(std::filesystem::file_size(dir_ / "r.pcap"), 24 + 172 * (16 + 42 + 1104));
}

TEST_F(Receiving, EndsWithTheTableOnASignalAndTellsWhatWasRefused) {
  const test::SimulatedCapture sensor(2);
  Packets packets = sensor.packets;
  packets.insert(packets.begin() + 5, {std::vector<std::uint8_t>(1104), packets[0]});
  packets[6].resize(65507);
  Listen("live --model juniq --out f --check-folder " + sensor.check_folder);
  ASSERT_TRUE(test::SendAll(packets, port_));
  ASSERT_TRUE(test::Eventually([&] { return exists(dir_ / "f/frame_000001.pcd"); }));
  const auto live = Finish(SIGTERM);
  EXPECT_EQ(live.code, 5);
  EXPECT_THAT(live.out, HasSubstr("1 of wrong length (0x41), 1 with wrong identifier (0x42)"));
  EXPECT_THAT(live.out, HasSubstr("1 pcd file in f"));
  Listen("live --model juniq --out g --check-folder " + sensor.check_folder, "ulimit -f 800;");
  ASSERT_TRUE(test::SendAll(sensor.packets, port_));
  const auto place = [&] { return Text("err").find("frame_000001.pcd: File too large"); };
  ASSERT_TRUE(test::Eventually([&] { return place() != std::string::npos; })) << "while it runs";
  EXPECT_THAT(Finish(SIGTERM).out, HasSubstr("0 frames for a slow disk, 1 for faults"));
  EXPECT_EQ(Text("err").rfind("File too large"), Text("err").find("File too large")) << "once";
}

TEST_F(Receiving, SaysWhatToCheckWhenNoPacketOfTheModelComes) {
  const UdpReceiver other("127.0.0.1", port_, UdpReceiver::Sharing::kShared);
  dir_.Write("taken", "a letter");
  const std::string port = " --port " + std::to_string(port_);
  const test::Refusal rows[] = {
      {"live --model juniq --wait 0.1", 3, "another socket has port"},
      {"live --model juniq --source 0.0.0.0", 2, "must be an IPv4 address of a host"},
      {"live --model juniq --source ''", 2, "must be an IPv4 address of a host"},
      {"live --model juniq --out ''", 2, "an empty name"},
      {"record --out ''", 2, "an empty name"},
      {"record --out taken", 4, "taken is there already and is no capture file"},
      {"live --model juniq --duration 0.1", 3, "nothing arrived at 0.0.0.0:"},
      {"live --model juniq --address 203.0.113.7", 4, "203.0.113.7 is no address of this machine"},
      {"live --model juniq --out x.ply", 2, "add --frames 1"},
      {"live --model juniq --wait 0.1 --out /proc", 4, "cannot write /proc/frame_000000.pcd"},
      {"live --model juniq --address sensor", 2, "--address"},
      {"record --out r.pcap", 4, "another program holds UDP port"},
      {"record --out /dev/full", 4, "holds UDP port"},
      {"record --address 127.0.0.2 --wait 0.1 --out r.pcap", 3, "nothing arrived at 127.0.0.2:"},
      {"record --address 127.0.0.2 --out /dev/full", 4, "/dev/full exists and is not a plain file"},
  };
  for (const auto& row : rows) {
    ExpectRefusal({row.arguments + port, row.code, row.sentence});
    EXPECT_FALSE(exists(dir_ / "r.pcap") || exists(dir_ / "r.pcap.part")) << row.arguments;
  }
}

TEST_F(Receiving, NamesTheModelsWhenPacketsOfAnotherLengthArrive) {
  Listen("live --model juniq --duration 20 --json");
  ASSERT_TRUE(test::SendAll(Packets(3, std::vector<std::uint8_t>(1236)), port_));
  const auto live = Finish(SIGINT);
  EXPECT_EQ(live.code, 3);
  EXPECT_THAT(live.err, HasSubstr("3 datagrams arrived"));
  EXPECT_THAT(live.err, HasSubstr("1236 bytes, as the packets of corvik, brantis or hestra have"));
  EXPECT_EQ(json::parse(live.out)["refused_length"], 3);
}

TEST_F(Receiving, NamesTheSendersOfAPortAndTakesOneOfThem) {
  const test::LoopbackSocket a, b(INADDR_LOOPBACK + 1);
  const std::string name_a = "127.0.0.1:" + std::to_string(a.port());
  const std::string name_b = "127.0.0.2:" + std::to_string(b.port());
  const auto send = [&] {
    for (const auto* const socket : {&a, &b, &b}) socket->Send(port_, "junk", 4);
  };
  Listen("live --model juniq --duration 20 --json");
  send();
  ASSERT_TRUE(test::Eventually([&] { return Text("err").find("mixed") != std::string::npos; }));
  const auto mixed = Finish(SIGINT);
  EXPECT_THAT(mixed.err, HasSubstr(name_a + " and " + name_b + " both sent"));
  EXPECT_EQ(json::parse(mixed.out)["packets_of_other_senders"], 2);
  EXPECT_EQ(json::parse(mixed.out)["interrupted"], true);
  Listen("live --model juniq --source 127.0.0.3 --wait 0.3");
  send();
  const auto chosen = Finish();
  EXPECT_EQ(chosen.code, 3);
  EXPECT_THAT(chosen.err,
              HasSubstr("nothing arrived from 127.0.0.3, but 3 datagrams from " + name_a));
  EXPECT_THAT(chosen.err, testing::Not(HasSubstr("mixed")));
}

TEST_F(Receiving, KeepsWhatWasRecordedWhenTheDiskIsFull) {
  const test::SimulatedCapture sensor(1);
  Listen("record --out r.pcap", "ulimit -f 800;");  // 400 kB
  ASSERT_TRUE(test::SendAll({sensor.packets.begin(), sensor.packets.begin() + 200}, port_));
  // The rest comes once these are on the disk, as the last batch is lost with the disk full.
  const auto size = [&] { return std::filesystem::file_size(dir_ / "r.pcap.part"); };
  ASSERT_TRUE(test::Eventually([&] { return size() == 24 + 200 * 1162; }));
  const test::LoopbackSocket socket;
  for (std::size_t i = 200; i < 400; ++i)
    socket.Send(port_, sensor.packets[i].data(), sensor.packets[i].size());
  const auto record = Finish();
  EXPECT_EQ(record.code, 4);
  EXPECT_THAT(record.err, HasSubstr("cannot write r.pcap: File too large; the file ends after "));
  const json facts = json::parse(Run("info r.pcap --json").out);
  EXPECT_GE(facts["records"], 200);
  EXPECT_THAT(record.err, HasSubstr("after " + to_string(facts["records"]) + " packets"));
  EXPECT_EQ(std::filesystem::file_size(dir_ / "r.pcap"), 24 + facts["records"].get<int>() * 1162);
}

}  // namespace
}  // namespace orliq::cli
