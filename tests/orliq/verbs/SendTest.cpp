// SPDX-License-Identifier: Apache-2.0
// Runs the program's sending verbs and receives what they send.
#include <atomic>
#include <ctime>
#include <sstream>
#include <thread>

#include "orliq/capture/CaptureFile.h"
#include "orliq/verbs/simulate/SimulateOptions.h"
#include "simulator/sending/ReplyFaults.h"
#include "support/CaptureBuilder.h"
#include "support/Loopback.h"
#include "support/Patience.h"
#include "support/Program.h"

namespace orliq::cli {
namespace {

using namespace std::chrono_literals;
using test::Bytes;
using test::CaptureBuilder;
using test::JsonValue;
using testing::HasSubstr;

class Send : public test::Program {
 protected:
  /// Runs the program with "--json --to" a socket, whose datagrams `received` holds afterwards. A
  /// signal ends it once that many have come (0: none does).
  JsonValue RunAndReceive(const std::string& arguments, int code, std::size_t interrupted_at = 0) {
    const test::LoopbackSocket socket;
    received.clear();
    std::atomic<bool> sending{true};
    std::thread receiver([&] {
      bool last_look = false;
      while (!last_look) {
        last_look = !sending;
        while (auto datagram = socket.Receive(std::chrono::milliseconds(last_look ? 0 : 20))) {
          if (received.empty()) tables_first = std::filesystem::exists(dir_ / "b/weight.csv");
          received.push_back(std::move(*datagram));
          if (received.size() == interrupted_at) Signal(SIGINT);
        }
      }
    });
    JsonValue sums = RunJson(arguments + " --to 127.0.0.1:" + std::to_string(socket.port()), code);
    sending = false;
    receiver.join();
    EXPECT_EQ(sums["packets_sent"], received.size());
    return sums;
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
  static double PlannedSeconds(const JsonValue& sums) {
    return sums["send_seconds"].Number() + sums["worst_delay_s"].Number();
  }

  std::vector<Bytes> received;
  bool tables_first = false;  // folder b was written before the first datagram came
};

TEST_F(Send, SimulatedPacketsAreThoseOfACaptureWithTheSameSeed) {
  const std::string options =
      "simulate --model juniq --frames 1 --rate 1 --seed 3 --drop 0.1 --swap 0.1 "
      "--duplicate 0.1 --wrong-length 0.1 --wrong-identifier 0.1 --foreign 0.1";
  const JsonValue written = RunJson(options + " --out a.pcap --check-folder a");
  const JsonValue sent = RunAndReceive(options + " --check-folder b --start-time 1700000000", 0);
  EXPECT_TRUE(tables_first);
  EXPECT_EQ(received, Recorded("a.pcap"));
  EXPECT_EQ(written["packets_written"], received.size());
  EXPECT_EQ(sent["faults"], written["faults"]);
  const auto count = [&](const char* fault) { return sent["faults"][fault].Whole(); };
  EXPECT_EQ(768 + count("duplicated") + count("foreign") - count("lost"), received.size());
  std::size_t bytes = 0;
  for (const Bytes& payload : received) bytes += payload.size();
  EXPECT_EQ(sent["bytes_sent"], bytes);
  const auto play = Run("play a.pcap --model juniq --check-folder b --verbose");
  EXPECT_EQ(play.code, 5) << "the same unit's tables";
  EXPECT_THAT(play.err, HasSubstr("\npcap file is load finished!\n")) << "no colour in a file";
}

TEST_F(Send, CtrlCIsALossUnlessTheSimulationWasEndless) {
  const JsonValue endless = RunAndReceive(
      "simulate --model Juniq --rate 1 --swap 0.5 --burst 7 --out a.pcap --check-folder a", 0, 100);
  EXPECT_EQ(received, Recorded("a.pcap")) << "a complete capture";
  EXPECT_EQ(endless["sensor_packets"], received.size());
  const JsonValue sent = RunAndReceive("simulate --model juniq --rate 1 --frames 1000", 5, 100);
  EXPECT_THAT(outcome_.err, HasSubstr("interrupted after 0 of 1,000 frames"));
  const double now = static_cast<double>(std::time(nullptr));
  EXPECT_NEAR(sent["start_time_s"].Number(), now, 60.0);
  EXPECT_EQ(sent["interrupted"], true);
}

TEST_F(Send, HandsOutTheCalibrationUntilCtrlCWithTheFaultsAskedFor) {
  const std::pair<const char*, const char*> options[] = {// in the order of sim::ReplyFault
                                                         {" --drop-replies ", "lost"},
                                                         {" --silence ", "silent"},
                                                         {" --short-replies ", "short"},
                                                         {" --wrong-marker ", "wrong_marker"},
                                                         {" --wrong-total ", "wrong_total"},
                                                         {" --delay-replies ", "delayed"},
                                                         {" --duplicate-replies ", "duplicated"},
                                                         {" --swap-replies ", "swapped"}};
  std::string faults = " --seed 3 --silence-time 0 --reply-delay 0 --restart-after 9 --down-time 0";
  sim::ReplyFaultRates rates;
  for (std::size_t i = 0; i < sim::kReplyFaults; ++i) {
    rates.values[i] = 0.02 * static_cast<double>(1 + i);
    faults += options[i].first + std::to_string(rates.values[i]);
  }
  const std::string serve = "simulate --model juniq --serve-params ";
  const Bytes request = {0xA5, 0xA5, 0xA5, 0xA5, 0, 0, 0, 0, 0, 1, 0, 0x95};
  for (const std::string packets : {"", " --frames 1 --out a.pcap"}) {
    const std::uint16_t port = test::FreePort();
    std::thread user([&] {
      const test::LoopbackSocket socket;
      EXPECT_TRUE(test::Eventually([&, replies = 0]() mutable {
        socket.Send(port, request.data(), request.size());
        if (socket.Receive(std::chrono::milliseconds(20))) ++replies;
        return replies > 100 && (packets.empty() || exists(dir_ / "a.pcap"));
      }));
      Signal(SIGINT);
    });
    const JsonValue sums = RunJson(serve + std::to_string(port) + packets + faults);
    user.join();
    sim::ReplyFaults chance(rates, 3);
    sim::ReplyFaultCounts counts;
    for (std::size_t i = 0; sums["requests"] > i; ++i) {
      if (const auto fault = chance.Next().fault) ++counts[*fault];
    }
    for (std::size_t i = 0; i + 1 < sim::kReplyFaults; ++i) {
      EXPECT_EQ(sums["reply_faults"][options[i].second], counts.values[i]) << options[i].first;
    }
    EXPECT_GT(sums["reply_faults"]["swapped"], 0);
    EXPECT_EQ(sums["restarts"], 1);
    EXPECT_EQ(sums["interrupted"], true) << "while it only hands out";
    const auto written = sums.Has("packets_written") ? sums["packets_written"].Whole() : 0;
    EXPECT_EQ(written, packets.empty() ? 0 : 768);
  }
  const test::LoopbackSocket other;
  ExpectRefusal({serve + std::to_string(other.port()), 4, "another program holds UDP port"});
  const JsonValue sums =
      RunJson(serve + std::to_string(test::FreePort()) + " --frames 1 --to 127.0.0.1:9");
  EXPECT_EQ(sums["image_bytes"], 589896) << "ends with the packets";
}

TEST_F(Send, SimulateReplacesOnlyWhatASimulationWrote) {
  const std::string verb =
      "simulate --model juniq --frames 1 --out a.pcap --check-folder a --seed ";
  const std::string line = "1.25,2.5\n";
  EXPECT_EQ(Run(verb + "1").code, 0);
  EXPECT_EQ(Run(verb + "2").code, 0) << "its own, of another unit";
  std::filesystem::remove(dir_ / "a/simulated.txt");
  EXPECT_EQ(Run(verb + "2").code, 0) << "as an earlier version left it";
  for (const char* const name : {"a/offset.csv", "a/notes.txt", "a.pcap"}) {
    const std::string before = dir_.Read("a/azimuth.csv");
    dir_.Write(name, line);
    ExpectRefusal({verb + "3", 4, "--force to replace"});
    EXPECT_EQ(dir_.Read(name), line);
    EXPECT_EQ(dir_.Read("a/azimuth.csv"), before) << name;
    EXPECT_EQ(Run(verb + "3 --force").code, 0) << name;
    std::filesystem::remove(dir_ / "a/notes.txt");
  }
  EXPECT_NE(dir_.Read("a/offset.csv"), line);
  std::filesystem::remove(dir_ / "a/simulated.txt");
  ExpectRefusal({verb + "4", 4, "which no simulation wrote"});

  const std::string azimuth = dir_.Read("a/azimuth.csv");
  dir_.Write("a/azimuth.csv.bak", azimuth);
  dir_.Write("a/unfinished.tmp", line);
  EXPECT_EQ(Run(verb + "5 --force", "ulimit -f 1200;").code, 4);
  EXPECT_EQ(dir_.Read("a/azimuth.csv"), azimuth) << "the older capture keeps its tables";
  const auto two =
      ExpectRefusal({"play a.pcap --model juniq --check-folder a", 4, "a/azimuth.csv "});
  EXPECT_THAT(two.err, HasSubstr("a/azimuth.csv.bak"));
  EXPECT_EQ(Run(verb + "5 --force").code, 0);
  EXPECT_FALSE(std::filesystem::exists(dir_ / "a/azimuth.csv.bak")) << "a table of another unit";
  EXPECT_EQ(dir_.Read("a/unfinished.tmp"), line);
  const std::string inside = "simulate --model juniq --frames 1 --check-folder b/ --out b/";
  ExpectRefusal({inside + "offset.pcap", 4, "no name for a capture"});
  EXPECT_EQ(Run("simulate --model juniq --out c --check-folder .", "mkdir weight; cd weight;").code,
            2);
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
  capture.Record(CaptureBuilder::Frame(a, 2368, 6)).Write(dir_ / "c.pcap");
  const JsonValue whole =
      RunAndReceive("send c.pcap --port 2368 --speed 100 --loop 2 --burst 3", 0);
  EXPECT_EQ(received, (std::vector<Bytes>{a, b, {}, c, a, b, {}, c}));
  EXPECT_GE(PlannedSeconds(whole), 0.0633) << "the first b to the last c";
  EXPECT_EQ(whole["skipped"]["other_port"], 1);

  const Bytes head = CaptureBuilder::Frame({1}, 2368);
  capture.Record(CaptureBuilder::VlanTagged(head)).Record(head, 100).Write(dir_ / "c.pcap");
  const JsonValue cut = RunAndReceive("send c.pcap --speed 1000", 5);
  EXPECT_THAT(outcome_.err, HasSubstr("packets could not be sent: 1 (VLAN"));
  EXPECT_EQ(cut["unreadable_packets"].Dump(), R"({"cut":1,"vlan":1})");
  capture.bytes().resize(capture.bytes().size() - 100);
  capture.Write(dir_ / "c.pcap");
  RunAndReceive("send c.pcap --speed 1000", 5);
  EXPECT_THAT(outcome_.err, HasSubstr("ends early after 6 good records"));
  EXPECT_EQ(received, (std::vector<Bytes>{a, c, b, {}, c}));
}

TEST(SimulatedClock, ShowsThePresentTimeWhenTheFirstPacketLeaves) {
  SimulateOptions live;
  CompleteSensorOptions(live, true);
  const auto ahead = UntilStart(live);
  EXPECT_TRUE(0ns < ahead && ahead <= 500ms);
  SimulateOptions late = live;
  late.sensor.start_time_s -= 1.0;
  EXPECT_EQ(UntilStart(late), 0ns);
  late.sensor.start_time_s += 1e6;
  EXPECT_EQ(UntilStart(late), 500ms) << "the machine's clock was set back meanwhile";
  live.start_time_s = live.sensor.start_time_s;
  EXPECT_EQ(UntilStart(live), 0ns) << "chosen";
}

}  // namespace
}  // namespace orliq::cli
