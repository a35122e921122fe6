// SPDX-License-Identifier: Apache-2.0
// Runs the program itself, as a user's shell does.
#include <gmock/gmock.h>

#include <csignal>
#include <fstream>
#include <nlohmann/json.hpp>
#include <set>
#include <thread>

#include "support/CaptureBuilder.h"
#include "support/Playback.h"
#include "support/Program.h"

namespace orliq::cli {
namespace {

using nlohmann::json;
using test::Outcome;
using test::Program;
using testing::HasSubstr;

TEST_F(Program, RefusesACommandLineThatMakesNoSenseAndSaysWhatToDo) {
  Simulate("--frames 1");
  std::filesystem::create_directory(dir_ / "bad");
  dir_.Write("bad/azimuth.csv", "1,2,3\n");
  std::filesystem::copy(dir_ / "room", dir_ / "four");
  dir_.Write("four/weight.csv", "a,1\n");
  test::CaptureBuilder().Write(dir_ / "empty.pcap");
  const test::Refusal rows[] = {
      {"--quiet", 2, "name a verb"},
      {"--quiet robin", 2, "there is no verb robin"},
      {"play room.pcap --model robin", 2, "use juniq"},
      {"play room.pcap --model glavor", 2, "cannot decode glavor yet"},
      {"play room.pcap --model juniq --frames 3", 2, "write A:B"},
      {"play room.pcap --model juniq --frames 0:1x", 2, "write A:B"},
      {"play room.pcap --model juniq --frames 5:5", 2, "write A:B"},
      {"play room.pcap --model juniq --frames 2:", 2, "last frame is 1"},
      {"play room.pcap --model juniq --min-distance nan", 2, "finite"},
      {"play room.pcap --model juniq --min-azimuth 5 --max-azimuth -5", 2, "--min-azimuth"},
      {"play room.pcap --model juniq --out x.las", 2, "only as .pcd, .ply or .csv"},
      {"play room.pcap --model juniq --source ''", 2, "such as 192.168.1.200"},
      {"info room.pcap --source ''", 2, "such as 192.168.1.200"},
      {"info room.pcap --check-folder room", 2, "needs --model"},
      {"simulate --model juniq --out x --check-folder my-offset-tables", 2, "\"offset\""},
      {"play missing.pcap --model juniq", 4, "there is no such file"},
      {"info -", 4, "there is no such file"},
      {"info room", 4, "not a regular file"},
      {"info room/azimuth.csv", 4, "it is no capture file"},
      {"play room.pcap --model juniq --check-folder nowhere", 4, "there is no folder nowhere"},
      {"play room.pcap --model juniq --check-folder bad", 4,
       "3 numbers, the azimuth table needs 49,"},
      {"play room.pcap --model juniq --check-folder four", 4, "the weight table needs 4"},
      {"info room.pcap --model juniq --check-folder four", 4, "the weight table needs 4"},
      {"play room.pcap --model juniq --check-folder ''", 4, "an empty name is no folder"},
      {"info room.pcap --model juniq --check-folder ''", 4, "an empty name is no folder"},
      {"info empty.pcap", 3, "holds no record"},
      {"play empty.pcap --model juniq", 3, "holds no record"},
      {"play room.pcap --model juniq --source 10.0.0.1", 3, "leave --port and --source away"},
      {"play room.pcap --model juniq --check-folder bad", 4, "there is no elevation table"},
      {"play room.pcap --model juniq --port 9", 3, "port 2368 do: leave --port"},
      {"info room.pcap --model kelvane", 3, "try --model juniq"},
      {"info room.pcap >/dev/full", 4, "standard output"},
  };
  for (const auto& row : rows) {
    const Outcome outcome = ExpectRefusal(row);
    EXPECT_TRUE(row.code != 2 || outcome.out.empty()) << row.arguments;
  }
}

TEST_F(Program, PlaysWhatItSimulates) {
  Simulate();
  const auto info = Run("info room.pcap --model juniq --check-folder room --json");
  ASSERT_EQ(info.code, 0) << info.err;
  const json facts = json::parse(info.out);
  EXPECT_EQ(facts["records"], 3 * 768);
  EXPECT_EQ(facts["complete_frames"], 3);
  EXPECT_EQ(facts["frame_entries"], 4);
  EXPECT_EQ(facts["flows"][0]["fits"]["juniq"], 3 * 768);
  EXPECT_EQ(facts["check_folder_loaded"], true);
  const auto play = Run("play room.pcap --model juniq --check-folder room --out f --json");
  ASSERT_EQ(play.code, 0) << play.err;
  const json sums = json::parse(play.out);
  EXPECT_EQ(sums["frames"], 3);
  EXPECT_EQ(sums["empty_frames"], 0) << "behind the last mark nothing is missing";
  EXPECT_LE(sums["points"], 3 * 49152) << "the radius filter only takes points away";
  EXPECT_GT(sums["non_zero_points"], 49152);
  EXPECT_EQ(sums["files_written"], 3);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "f/frame_000002.pcd"));
  EXPECT_FALSE(std::filesystem::exists(dir_ / "f/frame_000003.pcd")) << "an empty cloud";
}

TEST_F(Program, PlaysTheFramesAskedForWithEveryPointType) {
  Simulate("--frames 3 --no-radius-filter");
  const std::pair<std::string, std::size_t> types[] = {
      {"point", 16}, {"point-time", 24}, {"point-source", 37}, {"juniq", 36}};
  for (const auto& [type, bytes] : types) {
    const auto play =
        Run("play room.pcap --model juniq --frames 1:2 --force --out c.ply --point " + type);
    ASSERT_EQ(play.code, 0) << play.err;
    EXPECT_LT(std::filesystem::file_size(dir_ / "c.ply") - 49152 * bytes, 600U) << "the header";
  }
}

TEST_F(Program, LeavesNothingBehindWhenTheDiskRefusesTheRest) {
  Simulate("--frames 1");
  const auto files = [&] {
    std::set<std::filesystem::path> paths;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(dir_.path())) {
      if (entry.is_regular_file()) paths.insert(entry.path());
    }
    return paths;
  };
  const auto before = files();
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"200", "simulate --out new.pcap --check-folder new", "new/azimuth.csv"},
      {"1200", "simulate --out new.pcap --check-folder room", "new.pcap"},
      {"1200", "play room.pcap --frames 0:1 --out new.ply", "new.ply"}};
  for (const auto& [limit, verb, file] : rows) {  // 100 kB and 600 kB for a file
    const auto outcome = Run(verb + " --model juniq", "ulimit -f " + limit + ";");
    EXPECT_EQ(outcome.code, 4);
    EXPECT_THAT(outcome.err, HasSubstr(file));
    EXPECT_EQ(files(), before);
  }
}

/// With several frame marks lost in a row, one request gives more than one cloud.
TEST_F(Program, PlaysEveryPacketOfALossyCaptureOnce) {
  Simulate("--frames 6 --seed 27 --drop 0.6 --no-radius-filter");
  const json facts = json::parse(Run("info room.pcap --json").out);
  const auto play =
      Run("play room.pcap --model juniq --check-folder room --out f --partial --json");
  const json sums = json::parse(play.out);
  EXPECT_EQ(sums["points"], facts["records"].get<int>() * 64);
  EXPECT_GE(sums["frames"], sums["frame_entries"]) << "no frame came in parts";
  const std::filesystem::directory_iterator files(dir_ / "f");
  EXPECT_EQ(std::distance(begin(files), end(files)), sums["frames"]) << "each in its own file";
}

TEST_F(Program, EndsWithLossesWhenPacketsAreRefusedOrTheCaptureEndsEarly) {
  Simulate("--frames 2");
  const auto size = std::filesystem::file_size(dir_ / "room.pcap");
  std::filesystem::resize_file(dir_ / "room.pcap", size - 100);
  const auto cut = Run("play room.pcap --model juniq --check-folder room");
  EXPECT_EQ(cut.code, 5);
  EXPECT_THAT(cut.err, HasSubstr("ends early after 1,535 good records"));
  EXPECT_THAT(cut.out, HasSubstr("left out: 1 with "));
  EXPECT_EQ(Run("info room.pcap").code, 5);

  test::CaptureBuilder extra;
  extra.Udp(test::Bytes(10)).Udp(test::Bytes(1600));
  extra.Record(test::CaptureBuilder::Frame(test::Bytes(58), 2368), 1146);
  std::filesystem::resize_file(dir_ / "room.pcap", size - 1162);
  const std::string records(extra.bytes().begin() + 24, extra.bytes().end());
  std::ofstream(dir_ / "room.pcap", std::ios::app | std::ios::binary) << records;
  const auto refused = Run("play room.pcap --model juniq --check-folder room --json");
  EXPECT_EQ(refused.code, 5) << refused.err;
  EXPECT_EQ(json::parse(refused.out)["refused_length"], 3);
  EXPECT_GE(json::parse(refused.out)["driver_fault_reports"]["0x41"], 1);
  EXPECT_EQ(Run("play room.pcap --model juniq --frames 0:1").code, 0) << "none in that part";
}

class Captures : public Program {
 protected:
  using Frames = std::vector<test::Bytes>;

  /// Simulates frames of 768 packets; the Ethernet frames in which they stand.
  Frames Simulated(int frames) {
    Simulate("--no-radius-filter --frames " + std::to_string(frames));
    std::ifstream file(dir_ / "room.pcap", std::ios::binary);
    file.seekg(24);
    test::Bytes record(16 + 42 + 1104);
    Frames packets;
    while (file.read(reinterpret_cast<char*>(record.data()), 16 + 42 + 1104)) {
      packets.emplace_back(record.begin() + 16, record.end());
    }
    return packets;
  }

  static test::Bytes From(test::Bytes frame, std::uint8_t host, std::uint8_t port = 0x40) {
    frame[29] = host;
    frame[37] = port;
    return frame;
  }

  json Play(const test::CaptureBuilder& capture, int code, const std::string& more = "") {
    capture.Write(dir_ / "c.pcap");
    outcome_ = Run("play c.pcap --model juniq --check-folder room --json " + more);
    EXPECT_EQ(outcome_.code, code) << outcome_.err;
    return json::parse(outcome_.out, nullptr, false);
  }

  Outcome outcome_;  // of the last Play
};

TEST_F(Captures, AreNotWholeWhenPacketsStandInAFormThatTheDriverCannotRead) {
  test::CaptureBuilder half, all, other;
  int n = 0;
  for (const auto& packet : Simulated(2)) {
    const auto tagged = test::CaptureBuilder::VlanTagged(packet);
    half.Record(++n % 3 == 0 && n % 768 != 0 ? tagged : packet);
    all.Record(tagged);
    other.Record(packet).Record(test::CaptureBuilder::VlanTagged(From(packet, 7, 0x41)));
    if (n % 2 == 0) other.Record(test::CaptureBuilder::Frame({1, 2}, 2368, 6));
  }
  const json sums = Play(half, 5);
  EXPECT_EQ(sums["unreadable_packets"], (json{{"vlan", 510}}));
  EXPECT_EQ(sums["frames"], 2);
  EXPECT_EQ(Play(half, 5, "--frames 1:2")["unreadable_packets"], (json{{"vlan", 255}}));
  EXPECT_TRUE(Play(other, 0)["unreadable_packets"].empty());
  Play(all, 3);
  EXPECT_THAT(outcome_.err, HasSubstr("those to port 2368 are VLAN-tagged"));
}

TEST_F(Captures, GiveOnlyWholeFramesUnlessTheOthersAreAskedFor) {
  const Frames packets = Simulated(4);
  test::CaptureBuilder capture;
  for (std::size_t i = 300; i < 2900; ++i) capture.Record(packets[i]);
  const json sums = Play(capture, 0, "--out f");
  EXPECT_EQ(sums["frames"], 2);
  EXPECT_EQ(sums["files_written"], 2);
  EXPECT_TRUE(std::filesystem::exists(dir_ / "f/frame_000002.pcd")) << "keeps its number";
  const json left_out = sums["partial_frames"];
  ASSERT_EQ(left_out.size(), 2U);
  EXPECT_EQ(left_out[0]["frame"], 0);
  EXPECT_EQ(left_out[0]["points"], (768 - 300) * 64);
  EXPECT_EQ(left_out[1]["frame"], 3);
  EXPECT_EQ(left_out[1]["points"].get<int>() / 64, 2900 - 3 * 768);
  const json spread = sums["points_per_frame"];
  EXPECT_EQ(spread["min"], spread["max"]);
  EXPECT_EQ(sums["points"], 2 * spread["median"].get<int>());
  Play(capture, 4, "--out f");
  EXPECT_EQ(Play(capture, 0, "--out f --force --partial")["files_written"], 4);
  EXPECT_EQ(Play(capture, 0, "--frames :2 --out one.ply")["files_written"], 1);
  Play(capture, 2, "--frames :3 --out two.ply");
  EXPECT_THAT(outcome_.err, HasSubstr("choose one frame with --frames 1:2"));
  Play(capture, 3, "--frames 0:1");
  EXPECT_THAT(outcome_.err, HasSubstr("--partial keeps"));
}

TEST_F(Captures, OfTwoSensorsAreToldApart) {
  test::CaptureBuilder plain, mixed, ports;
  for (const auto& packet : Simulated(2)) {
    plain.Record(packet);
    mixed.Record(packet).Record(From(packet, 201));
    ports.Record(packet).Record(From(packet, 201, 0x41));
  }
  json alone = Play(plain, 0);
  EXPECT_EQ(alone["senders"], json{"192.168.1.200"});
  EXPECT_EQ(Play(mixed, 0)["senders"].size(), 2U);
  EXPECT_THAT(outcome_.err, HasSubstr("192.168.1.200 and 192.168.1.201 send to port 2368"));
  const json chosen = Play(mixed, 0, "--source 192.168.1.201");
  EXPECT_EQ(chosen["senders"], json{"192.168.1.201"});
  EXPECT_EQ(chosen["points_per_frame"], alone["points_per_frame"]);
  EXPECT_EQ(chosen["non_zero_points"], alone["non_zero_points"]);
  Play(ports, 2);
  EXPECT_THAT(outcome_.err, HasSubstr("choose one with --port (2368 or 2369)"));
  for (const char* name : {"mixed.pcap", "ports.pcap"}) {
    (name[0] == 'm' ? mixed : ports).Write(dir_ / name);
    const auto info = Run(std::string("info --model JUNIQ --json ") + name);
    EXPECT_EQ(info.code, 0) << info.err;
    const json flows = json::parse(info.out)["flows"];
    for (const int i : {0, 1}) EXPECT_EQ(flows[i]["complete_frames"], 2) << name;
    EXPECT_THAT(info.err, HasSubstr(name[0] == 'm' ? "--source" : "--port 2368 or 2369"));
  }
}

TEST_F(Captures, ArePlayedUntilCtrlCThenReportedAsNotDone) {
  test::CaptureBuilder endless;
  for (int i = 0; i < 20000; ++i) endless.Udp(test::JuniqPacket());
  endless.Write(dir_ / "c.pcap");
  std::thread user([&] {
    const auto written = [&] { return std::filesystem::exists(dir_ / "f/frame_000000.csv"); };
    pid_t pid = 0;
    if (test::Eventually(written) && std::ifstream(dir_ / "pid") >> pid) ::kill(pid, SIGINT);
  });
  const auto play = Run("play c.pcap --model juniq --point juniq --out f --format csv --json",
                        "echo $$ > pid; exec");
  user.join();
  EXPECT_EQ(play.code, 5);
  EXPECT_THAT(play.err, HasSubstr("interrupted"));
  const json sums = json::parse(play.out);
  EXPECT_EQ(sums["interrupted"], true);
  const std::filesystem::directory_iterator files(dir_ / "f");
  EXPECT_EQ(std::distance(begin(files), end(files)), sums["files_written"]);
  EXPECT_LT(sums["files_written"], 13);
}

}  // namespace
}  // namespace orliq::cli
