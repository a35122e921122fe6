// SPDX-License-Identifier: Apache-2.0
// Runs the program's sending verbs and receives what they send.
#include <gmock/gmock.h>

#include <atomic>
#include <csignal>
#include <ctime>
#include <functional>
#include <nlohmann/json.hpp>
#include <sstream>
#include <thread>

#include "orliq/capture/CaptureFile.h"
#include "support/CaptureBuilder.h"
#include "support/Loopback.h"
#include "support/Program.h"

namespace orliq::cli {
namespace {

using nlohmann::json;
using test::Bytes;
using test::CaptureBuilder;
using test::Outcome;
using testing::HasSubstr;

class Send : public test::Program {
 protected:
  /// Runs the program with "--to" a socket, whose datagrams `received` holds afterwards. `taken` is
  /// told how many came so far.
  Outcome RunAndReceive(
      const std::string& arguments, const std::string& before = "",
      const std::function<void(std::size_t)>& taken = [](std::size_t) {}) {
    const test::LoopbackSocket socket;
    std::atomic<bool> sending{true};
    std::thread receiver([&] {
      bool last_look = false;
      while (!last_look) {
        last_look = !sending;
        while (auto datagram = socket.Receive(std::chrono::milliseconds(last_look ? 0 : 20))) {
          received.push_back(std::move(*datagram));
          taken(received.size());
        }
      }
    });
    const auto outcome =
        Run(arguments + " --to 127.0.0.1:" + std::to_string(socket.port()), before);
    sending = false;
    receiver.join();
    return outcome;
  }

  /// The same, ended by a signal once 100 datagrams have come.
  Outcome RunAndInterrupt(const std::string& arguments) {
    return RunAndReceive(arguments, "echo $$ > pid; exec", [&](std::size_t count) {
      pid_t pid = 0;
      if (count == 100 && std::ifstream(dir_ / "pid") >> pid) ::kill(pid, SIGINT);
    });
  }

  std::vector<Bytes> Recorded(const std::string& name) const {
    std::vector<Bytes> payloads;
    for (CaptureFile capture(dir_ / name); capture.Next();) {
      const auto datagram = std::get<Datagram>(capture.Content({2368}));
      payloads.emplace_back(datagram.payload, datagram.payload + datagram.payload_bytes);
    }
    return payloads;
  }

  /// At least from the first moment that was due to the last one.
  static double PlannedSeconds(const Outcome& outcome) {
    const json sums = json::parse(outcome.out);
    return sums["send_seconds"].get<double>() + sums["worst_delay_s"].get<double>();
  }

  std::vector<Bytes> received;
};

TEST_F(Send, SimulatedPacketsAreThoseOfACaptureWithTheSameSeed) {
  const std::string options =
      "simulate --model juniq --frames 1 --rate 1 --seed 3 --json --drop 0.1 --swap 0.1 "
      "--duplicate 0.1 --wrong-length 0.1 --wrong-identifier 0.1 --foreign 0.1";
  const json written = json::parse(Run(options + " --out a.pcap --check-folder a").out);
  const auto outcome =
      RunAndReceive(options + " --check-folder b --start-time 1700000000", "", [&](std::size_t) {
        EXPECT_TRUE(std::filesystem::exists(dir_ / "b/weight.csv")) << "before the first packet";
      });
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const json sent = json::parse(outcome.out);
  EXPECT_EQ(received, Recorded("a.pcap"));
  EXPECT_EQ(sent["packets_sent"], received.size());
  EXPECT_EQ(sent["packets_sent"], written["packets_written"]);
  EXPECT_EQ(sent["faults"], written["faults"]);
  const auto count = [&](const char* fault) { return sent["faults"][fault].get<std::size_t>(); };
  EXPECT_EQ(768 + count("duplicated") + count("foreign") - count("lost"), received.size());
  std::size_t bytes = 0;
  for (const Bytes& payload : received) bytes += payload.size();
  EXPECT_EQ(sent["bytes_sent"], bytes);
  const auto play = Run("play a.pcap --model juniq --check-folder b --verbose");
  EXPECT_EQ(play.code, 5) << "the same unit's tables";
  EXPECT_THAT(play.err, HasSubstr("\npcap file is load finished!\n")) << "no colour in a file";
}

TEST_F(Send, CtrlCEndsAnEndlessSimulationWithItsTableAndACompleteCapture) {
  const auto outcome = RunAndInterrupt(
      "simulate --model Juniq --rate 1 --swap 0.5 --burst 7 --json --out a.pcap --check-folder a");
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  const json sent = json::parse(outcome.out);
  EXPECT_GE(received.size(), 100U);
  EXPECT_EQ(received, Recorded("a.pcap"));
  EXPECT_EQ(sent["packets_sent"], received.size());
  EXPECT_EQ(sent["sensor_packets"], received.size());
}

TEST_F(Send, CtrlCBeforeAllIsDoneThatWasAskedForIsALoss) {
  CaptureBuilder().Udp(Bytes{1}).Write(dir_ / "c.pcap");
  const std::pair<std::string, std::string> rows[] = {
      {"simulate --model juniq --rate 1 --frames 1000 --json",
       "interrupted after 0 of 1,000 frames"},
      {"send c.pcap --loop 10000 --speed 100 --json", "interrupted in round "}};
  for (const auto& [arguments, sentence] : rows) {
    received.clear();
    const auto outcome = RunAndInterrupt(arguments);
    EXPECT_EQ(outcome.code, 5) << outcome.err;
    const json sent = json::parse(outcome.out);
    EXPECT_EQ(sent["packets_sent"], received.size());
    EXPECT_EQ(sent["interrupted"], true);
    EXPECT_EQ(sent["error"]["code"], 5);
    EXPECT_THAT(sent["error"]["message"].get<std::string>(), HasSubstr(sentence));
    const double now = static_cast<double>(std::time(nullptr));
    EXPECT_NEAR(sent.value("start_time_s", now), now, 60.0);
  }
}

TEST_F(Send, SimulateReplacesOnlyWhatASimulationWrote) {
  const std::string verb =
      "simulate --model juniq --frames 1 --out a.pcap --check-folder a --seed ";
  const auto table = [&](const std::string& name) {
    std::ifstream file(dir_ / name, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
  };
  const std::string line = "1.25,2.5\n";
  EXPECT_EQ(Run(verb + "1").code, 0);
  EXPECT_EQ(Run(verb + "2").code, 0) << "its own, of another unit";
  std::filesystem::remove(dir_ / "a/simulated.txt");
  EXPECT_EQ(Run(verb + "2").code, 0) << "as an earlier version left it";
  for (const char* const name : {"a/offset.csv", "a/notes.txt", "a.pcap"}) {
    const std::string before = table("a/azimuth.csv");
    dir_.Write(name, line);
    ExpectRefusal({verb + "3", 4, "--force to replace"});
    EXPECT_EQ(table(name), line);
    EXPECT_EQ(table("a/azimuth.csv"), before) << name;
    EXPECT_EQ(Run(verb + "3 --force").code, 0) << name;
    std::filesystem::remove(dir_ / "a/notes.txt");
  }
  EXPECT_NE(table("a/offset.csv"), line);
  std::filesystem::remove(dir_ / "a/simulated.txt");
  ExpectRefusal({verb + "4", 4, "which no simulation wrote"});

  const std::string azimuth = table("a/azimuth.csv");
  dir_.Write("a/azimuth.csv.bak", azimuth);
  dir_.Write("a/unfinished.tmp", line);
  EXPECT_EQ(Run(verb + "5 --force", "ulimit -f 1200;").code, 4);
  EXPECT_EQ(table("a/azimuth.csv"), azimuth) << "the older capture keeps its tables";
  const auto two =
      ExpectRefusal({"play a.pcap --model juniq --check-folder a", 4, "a/azimuth.csv "});
  EXPECT_THAT(two.err, HasSubstr("a/azimuth.csv.bak"));
  EXPECT_EQ(Run(verb + "5 --force").code, 0);
  EXPECT_FALSE(std::filesystem::exists(dir_ / "a/azimuth.csv.bak")) << "a table of another unit";
  EXPECT_EQ(table("a/unfinished.tmp"), line);
  const std::string inside = "simulate --model juniq --frames 1 --check-folder b/ --out b/";
  ExpectRefusal({inside + "offset.pcap", 4, "no name for a capture"});
  EXPECT_EQ(Run(inside + "c.pcap").code, 0);
  EXPECT_EQ(Run(inside + "c.pcap").code, 0) << "the capture is no other file";
}

TEST_F(Send, HelpFitsATerminalOf80Columns) {
  for (const char* const verb : {"", "simulate", "info", "play", "live", "record", "send"}) {
    std::istringstream help(Run(std::string(verb) + " --help").out);
    std::size_t lines = 0;
    for (std::string line; std::getline(help, line); ++lines) EXPECT_LE(line.size(), 80U) << line;
    EXPECT_GT(lines, 8U) << verb;
  }
}

TEST_F(Send, ReplaysTheDatagramsOfACapture) {
  const Bytes a = {1, 2, 3}, b(9000, 7), c = {9};  // b is more than a driver takes
  CaptureBuilder capture;
  capture.Udp(a).Udp(c, 2369).Udp(b).Udp(Bytes()).Udp(c);
  capture.Record(CaptureBuilder::Frame(a, 2368, 6));
  capture.Write(dir_ / "c.pcap");
  const auto whole = RunAndReceive("send c.pcap --port 2368 --speed 100 --loop 2 --burst 3 --json");
  EXPECT_EQ(whole.code, 0) << whole.err;
  EXPECT_EQ(received, (std::vector<Bytes>{a, b, {}, c, a, b, {}, c}));
  EXPECT_EQ(json::parse(whole.out)["packets_sent"], 8);
  EXPECT_GE(PlannedSeconds(whole), 0.0633) << "the first b to the last c";
  EXPECT_EQ(json::parse(whole.out)["skipped"]["other_port"], 1);
  EXPECT_EQ(json::parse(whole.out)["skipped"]["not_udp"], 1);

  const Bytes head = CaptureBuilder::Frame({1}, 2368);
  Bytes tagged = head;
  tagged.insert(tagged.begin() + 12, {0x81, 0, 0, 5});
  capture.Record(tagged).Record(head, 100).Write(dir_ / "c.pcap");
  const auto cut = RunAndReceive("send c.pcap --speed 1000 --json");
  EXPECT_EQ(cut.code, 5);
  EXPECT_THAT(cut.err, HasSubstr("packets could not be sent: 1 (VLAN"));
  EXPECT_EQ(json::parse(cut.out)["unreadable_packets"], json({{"vlan", 1}, {"cut", 1}}));
  capture.bytes().resize(capture.bytes().size() - 100);
  capture.Write(dir_ / "c.pcap");
  received.clear();
  const auto early = RunAndReceive("send c.pcap --speed 1000");
  EXPECT_EQ(early.code, 5);
  EXPECT_THAT(early.err, HasSubstr("ends early after 6 good records"));
  EXPECT_EQ(received, (std::vector<Bytes>{a, c, b, {}, c}));
}

TEST_F(Send, RefusesWhatCannotBeSentAndSaysWhy) {
  CaptureBuilder().Udp(Bytes{1}).Write(dir_ / "c.pcap");
  const test::Refusal rows[] = {
      {"simulate --model juniq", 2, "with --out or a receiver with --to"},
      {"simulate --model juniq --out x", 2, "--out needs --check-folder"},
      {"simulate --model juniq --to localhost:9 --check-folder ''", 4,
       "an empty name is no folder"},
      {"simulate --model juniq --to localhost:9 --out ''", 4, "an empty name is no file"},
      {"simulate --model juniq --to localhost", 2, "such as 127.0.0.1:2368"},
      {"simulate --model juniq --to 127.0.0.1:9 --port 9", 2, "--port requires --out"},
      {"simulate --model juniq --out x --check-folder y --burst 2", 2, "--burst requires --to"},
      {"send c.pcap", 2, "--to is required"},
      {"send c.pcap --to localhost:9 --speed nan", 2, "from 0.01 to 1000, not nan"},
      {"send c.pcap --to :2368", 2, "such as 127.0.0.1:2368"},
      {"send c.pcap --to localhost:65536", 2, "from 1 to 65535"},
      {"send c.pcap --to [::1]:2368", 2, "IPv6 is not supported"},
      {"send c.pcap --to 1.2.3.4.5:2368", 2, "no IPv4 address for 1.2.3.4.5"},
      {"send c.pcap --to localhost:9 --loop 0", 2, "or forever"},
      {"send c.pcap --to localhost:9 --port 7", 3, "no UDP packet to port 7"},
      {"send d.pcap --to localhost:9", 4, "there is no such file"},
      {"simulate --model juniq --to localhost:9 --frames 1 --seed 18446744073709551616", 2,
       "most 64"},
  };
  for (const auto& row : rows) {
    ExpectRefusal(row);
    const json error = json::parse(Run(row.arguments + " --json").out)["error"];
    EXPECT_EQ(error["code"], row.code);
    EXPECT_THAT(error["message"].get<std::string>(), HasSubstr(row.sentence));
  }
  const auto alone = Run("send c.pcap --to localhost:9 --loop 3 --speed 10 --json");
  EXPECT_EQ(alone.code, 0) << "nobody need listen";
  EXPECT_GE(PlannedSeconds(alone), 0.02) << "one packet is no flood";
  CaptureBuilder timeless;
  timeless.Udp(Bytes{1}).Udp(Bytes{2}).bytes()[24 + 16 + 43]--;  // both at the same second
  timeless.Write(dir_ / "c.pcap");
  const auto at_once = Run("send c.pcap --to localhost:9 --json");
  EXPECT_EQ(json::parse(at_once.out)["usable_times"], false);
  EXPECT_THAT(at_once.err, HasSubstr("tell no pace"));
}

}  // namespace
}  // namespace orliq::cli
