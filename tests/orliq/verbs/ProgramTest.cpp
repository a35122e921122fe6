// SPDX-License-Identifier: Apache-2.0
// Runs the program itself, as a user's shell does.
#include <thread>

#include "support/CaptureBuilder.h"
#include "support/Patience.h"
#include "support/Program.h"

namespace orliq::cli {
namespace {

using test::CaptureBuilder;
using test::JsonValue;
using test::Program;
using testing::HasSubstr;
using Names = std::set<std::string>;

TEST_F(Program, RefusesACommandLineThatMakesNoSenseAndSaysWhatToDo) {
  Simulate("--frames 1");
  std::filesystem::create_directory(dir_ / "bad");
  dir_.Write("bad/azimuth.csv", "1,2,3\n");
  std::filesystem::copy(dir_ / "room", dir_ / "four");
  dir_.Write("four/weight.csv", "a,1\n");
  CaptureBuilder().Write(dir_ / "empty.pcap");
  const test::Refusal rows[] = {
      {"--quiet robin", 2,
       "robin: use simulate, info, play, fuse, live, view, bridge, doctor, record, send, "
       "check-params or fetch-params"},
      {"play room.pcap --model robin", 2, "use one of juniq"},
      {"live --model hestra --port 9 --frames 3", 2, "use --duration"},
      {"play room.pcap --model juniq --frames 0:1x", 2, "write A:B"},
      {"play room.pcap --model juniq --frames 5:5", 2, "write A:B"},
      {"play room.pcap --model juniq --frames 2:", 2, "last frame is 1"},
      {"play room.pcap --model juniq --min-distance nan", 2, "finite"},
      {"play room.pcap --model juniq --min-azimuth 5 --max-azimuth -5", 2, "--min-azimuth"},
      {"play room.pcap --model juniq --transform 1,2", 2, "At least 6 required"},
      {"play room.pcap --model juniq --point all", 2, "all not in {point,point-time,"},
      {"play room.pcap --model juniq --out x.las", 2, "only as .pcd, .ply, .csv or .mcap"},
      {"play room.pcap --model juniq --source ''", 2, "such as 192.168.1.200"},
      {"info room.pcap --check-folder room", 2, "needs --model"},
      {"info room", 4, "not a regular file"},
      {"info \"$(printf 'a\\033[31m\\302\\2331m')\"", 4, "cannot read a?[31m?1m:"},
      {"info room/azimuth.csv", 4, "it is no capture file"},
      {"play room.pcap --model juniq --check-folder nowhere", 4, "there is no folder nowhere"},
      {"play room.pcap --model juniq --check-folder bad", 4, "for the elevation table: none has"},
      {"play room.pcap --model juniq --check-folder four", 4, "1 number, the weight table needs"},
      {"info room.pcap --model juniq --check-folder four", 4, "the weight table needs 4"},
      {"play room.pcap --model juniq --check-folder ''", 4, "an empty name is no folder"},
      {"simulate --model juniq --to localhost:9 --check-folder ''", 4, "name is no folder"},
      {"simulate --model juniq --to localhost:9 --out ''", 4, "an empty name is no file"},
      {"play empty.pcap --model juniq", 3, "holds no record"},
      {"play room.pcap --model juniq --source 10.0.0.1", 3, "leave --source away"},
      {"play room.pcap --model juniq --port 9", 3, "port 2368 do: leave --port"},
      {"info room.pcap --model kelvane", 3, "try --model juniq"},
      {"simulate --model juniq", 2, "with --out or a receiver with --to"},
      {"simulate --model juniq --out x", 2, "--out needs --check-folder"},
      {"simulate --model juniq --out x --check-folder my-offset-tables", 2, "\"offset\""},
      {"simulate --model fennix --to 127.0.0.1:9 --frames 1 --noise 0.1", 2, "measures no ranges"},
      {"simulate --model juniq --to 127.0.0.1:9 --frames 1 --cycle 4", 2, "--cycle is for kelvane"},
      {"simulate --model kelvane --out x --cycle 3", 2, "3 not in {2,4}"},
      {"live --model juniq --params-from a:1 --check-folder b", 2, "excludes"},
      {"simulate --model juniq --to 127.0.0.1:9 --frames 1 --port 9", 2, "--port requires --out"},
      {"simulate --model juniq --to 127.0.0.1:9 --frames 1 --seed 18446744073709551616", 2,
       "most 64"},
      {"simulate --model kelvane --serve-params 9", 2, "--serve-params is for juniq, glavor"},
      {"simulate --model juniq --serve-params 9 --frames 3", 2, "but none are sent"},
      {"simulate --model juniq --serve-params 9 --drop 0.1", 2, "such as --drop-replies"},
      {"simulate --model juniq --to 127.0.0.1:9 --frames 1 --serve-params ''", 2,
       "params \"\": write a port"},
      {"simulate --model juniq --serve-params 127.0.0.1", 2, "params 127.0.0.1: write a port"},
      {"simulate --model juniq --frames 1 --serve-params 2400 --to 127.0.0.1:2400", 2,
       "the same port"},
      {"simulate --model juniq --serve-params 2400 --noise 0.1", 2, "--noise and"},
      {"simulate --model juniq --to 127.0.0.1:9 --frames 1 --silence 1", 2,
       "requires --serve-params"},
      {"send room.pcap", 2, "--to is required"},
      {"send room.pcap --to localhost:9 --speed nan", 2, "from 0.01 to 1000, not nan"},
      {"send room.pcap --to :2368", 2, "such as 127.0.0.1:2368"},
      {"send room.pcap --to [::1]:2368", 2, "IPv6 is not supported"},
      {"send room.pcap --to 1.2.3.4.5:2368", 2, "no IPv4 address for 1.2.3.4.5"},
      {"send room.pcap --to localhost:9 --loop 0", 2, "or forever"},
      {"send room.pcap --to localhost:9 --port 7", 3, "no UDP packet to port 7"},
  };
  for (const auto& row : rows) {
    EXPECT_TRUE(ExpectRefusal(row).out.empty() || row.code != 2) << row.arguments;
    const JsonValue error = RunJson(row.arguments, row.code)["error"];
    EXPECT_EQ(error["code"], row.code) << row.arguments;
    EXPECT_THAT(error["message"].Text(), HasSubstr(row.sentence));
  }
  ExpectRefusal({"", 2, "name a verb"});
  ExpectRefusal({"info room.pcap >/dev/full", 4, "standard output"});
}

TEST_F(Program, PlaysWhatItSimulatesWithEveryPointType) {
  Simulate("--frames 3 --no-radius-filter");
  const JsonValue facts = RunJson("info room.pcap --model juniq --check-folder room");
  EXPECT_EQ(facts["complete_frames"], 3);
  EXPECT_EQ(facts["check_folder_loaded"], true);
  const JsonValue sums = RunJson("play room.pcap --model juniq --check-folder room --out f");
  EXPECT_EQ(sums["points"], 3 * 49152);
  EXPECT_GT(sums["non_zero_points"], 49152);
  EXPECT_EQ(sums["empty_frames"], 0) << "behind the last mark nothing is missing";
  EXPECT_EQ(dir_.Files("f"), (Names{"frame_000000.pcd", "frame_000001.pcd", "frame_000002.pcd"}));
  const std::pair<std::string, std::size_t> types[] = {
      {"point", 16}, {"point-time", 24}, {"point-source", 37}, {"juniq", 36}};
  for (const auto& [type, bytes] : types) {
    RunJson("play room.pcap --model juniq --frames 1:2 --force --out c.ply --point " + type);
    EXPECT_LT(std::filesystem::file_size(dir_ / "c.ply") - 49152 * bytes, 600U) << "the header";
  }
}

TEST_F(Program, TellsFramesFromOtherCloudsForEveryModel) {
  const struct {
    const char* model;
    int frames, empty;
    const char* kinds;  // of the clouds
    int min_points, max_points;
    const char* remark;
    const char* help;
  } rows[] = {
      {"glavor", 3, 0, "ffff", 49152, 49152, "",
       "no   no    needed  yes        goes to the origin"},
      {"fennix", 3, 0, "fff", 49151, 49183, "at the origin",
       "at the origin  no   no    no      no"},
      {"corvik", 3, 0, "fff", 10751, 10944, "no calibration", "yes  yes   no      yes"},
      {"brantis", 0, 1, "e", 0, 0, "neither points nor frames", "none           no   no    no"},
      {"hestra", 0, 1, "e", 0, 0, "neither points nor frames", "none           no   no    no"},
      {"kelvane", 3, 0, "fff", 312000, 312000, "--transform has no effect", "is left out"}};
  for (const auto& row : rows) {
    const bool tables = row.model == std::string("glavor");
    const std::string model =
        std::string(" c.pcap --model ") + row.model + (tables ? " --check-folder g" : "");
    const std::string check = tables ? "" : " --check-folder nowhere";
    Run("simulate --frames 3 --quiet --force --out" + model);
    EXPECT_EQ(RunJson("info" + model + check)["complete_frames"], row.frames) << row.model;
    const std::string play = "play" + model + check + " --transform 1,0,0,0,0,0 --force --out ";
    const JsonValue sums = RunJson(play + row.model);
    EXPECT_THAT(outcome_.err, HasSubstr(row.remark));
    std::string kinds;
    for (const JsonValue& cloud : sums["clouds"].Elements()) kinds += cloud["kind"].Text()[0];
    EXPECT_EQ(kinds, row.kinds) << row.model;
    for (const char* const key : {"frames", "files_written"}) EXPECT_EQ(sums[key], row.frames);
    EXPECT_EQ(sums["empty_frames"], row.empty) << row.model;
    EXPECT_EQ(sums["points_per_frame"]["min"], row.min_points) << row.model;
    EXPECT_EQ(sums["points_per_frame"]["max"], row.max_points) << row.model;
    for (const char* const verb : {"play", "live", "info"}) {
      const std::string help = Run(verb + std::string(" --help")).out;
      EXPECT_THAT(help, testing::ContainsRegex(row.model + std::string(" [^\n]*") + row.help));
    }
    const JsonValue unmoved = RunJson("play" + model + check);
    EXPECT_EQ(sums["non_zero_points"], unmoved["non_zero_points"]) << row.model;
    if (row.frames == 0) continue;
    RunJson(play + "alone.pcd --frames 1:2");
    const std::string frame = row.model + std::string("/frame_000001.pcd");
    EXPECT_TRUE(dir_.Read("alone.pcd") == dir_.Read(frame)) << row.model;
  }
  const std::string all = dir_.Read("c.pcap");  // of the Kelvane
  const std::size_t half = 600 * 1142;          // [bytes] of a frame
  dir_.Write("c.pcap", std::string(all).erase(24 + 2 * half, 1142).erase(24, half));
  EXPECT_EQ(RunJson("play c.pcap --model kelvane --partial")["points_per_frame"]["max"], 312000);
  dir_.Write("c.pcap", all.substr(0, 24 + 2 * half));
  EXPECT_EQ(RunJson("play c.pcap --model kelvane")["extra_clouds"], 1) << "without a mark";
}

// A script may name the same options for every model.
TEST_F(Program, TakesBackWithARemarkWhatASimulatedSensorDoesNotNeed) {
  const auto outcome = Run(
      "simulate --model kelvane --frames 2 --cycle 4 --out hall.pcap --check-folder offset --json "
      "--no-radius-filter");
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.err, HasSubstr("nothing is written to --check-folder"));
  EXPECT_THAT(outcome.err, HasSubstr("kelvane has no radius filter"));
  EXPECT_THAT(outcome.out, HasSubstr("\"packets_written\": 4800"));
  EXPECT_THAT(outcome.out, Not(HasSubstr("check_folder")));
  EXPECT_EQ(dir_.Files().count("offset"), 0U);
  EXPECT_THAT(Run("info hall.pcap --model kelvane").err, HasSubstr("with one frame mark nothing"));
  const test::Refusal far = {"play hall.pcap --model kelvane --min-distance 400", 3, "no point"};
  EXPECT_THAT(ExpectRefusal(far).err, HasSubstr("no return lies within the limits"));
}

TEST_F(Program, LeavesNothingBehindWhenTheDiskRefusesTheRest) {
  Simulate("--frames 1");
  const auto before = dir_.Files();
  const std::tuple<std::string, std::string, std::string> rows[] = {
      {"200", "simulate --to 127.0.0.1:9 --frames 1 --check-folder new", "new/azimuth.csv"},
      {"1200", "simulate --out new.pcap --check-folder room", "new.pcap"},
      {"1200", "play room.pcap --frames 0:1 --out new.ply", "new.ply"}};
  for (const auto& [limit, verb, file] : rows) {  // 100 kB and 600 kB for a file
    const auto outcome = Run(verb + " --model juniq", "ulimit -f " + limit + ";");
    EXPECT_EQ(outcome.code, 4);
    EXPECT_THAT(outcome.err, HasSubstr(file));
    EXPECT_EQ(dir_.Files(), before);
  }
}

/// With several frame marks lost in a row, one request gives more than one cloud.
TEST_F(Program, PlaysEveryPacketOfALossyCaptureOnce) {
  Simulate("--frames 6 --seed 27 --drop 0.6 --no-radius-filter");
  const JsonValue facts = RunJson("info room.pcap");
  const JsonValue sums =
      RunJson("play room.pcap --model juniq --check-folder room --out f --partial");
  EXPECT_EQ(sums["points"], facts["records"].Whole() * 64);
  EXPECT_GE(sums["frames"], sums["frame_entries"]) << "no frame came in parts";
  EXPECT_EQ(dir_.Files("f").size(), sums["frames"]) << "each in its own file";
}

class Captures : public Program {
 protected:
  /// Simulates frames of 768 packets; the Ethernet frames in which they stand.
  std::vector<test::Bytes> Simulated(int frames) {
    Simulate("--no-radius-filter --frames " + std::to_string(frames));
    const std::string file = dir_.Read("room.pcap");
    std::vector<test::Bytes> packets;
    for (auto at = file.begin() + 24; at != file.end(); at += 16 + 42 + 1104) {
      packets.emplace_back(at + 16, at + 16 + 42 + 1104);
    }
    return packets;
  }

  static test::Bytes From(test::Bytes frame, std::uint8_t host, std::uint8_t port = 0x40) {
    frame[29] = host;
    frame[37] = port;
    return frame;
  }

  JsonValue Play(const CaptureBuilder& capture, int code, const std::string& more = "") {
    capture.Write(dir_ / "c.pcap");
    return RunJson("play c.pcap --model juniq --check-folder room " + more, code);
  }
};

TEST_F(Captures, EndWithLossesWhenPacketsAreRefusedOrTheFileEndsEarly) {
  CaptureBuilder capture;
  for (const auto& packet : Simulated(2)) capture.Record(packet);
  const auto size = capture.bytes().size();
  capture.bytes().resize(size - 100);
  EXPECT_EQ(Play(capture, 5)["partial_frames"].Size(), 1U);
  EXPECT_THAT(outcome_.err, HasSubstr("ends early after 1,535 good records"));
  RunJson("info c.pcap", 5);
  capture.bytes().resize(size - 1162);
  capture.Udp(test::Bytes(10)).Udp(test::Bytes(1600));
  capture.Record(CaptureBuilder::Frame(test::Bytes(58), 2368), 1146);
  const JsonValue sums = Play(capture, 5);
  EXPECT_EQ(sums["refused_length"], 3);
  EXPECT_GE(sums["driver_fault_reports"]["0x41"], 1);
  const JsonValue records = sums["ledger"]["records"], packets = sums["ledger"]["packets"];
  EXPECT_TRUE(records["records"] == 1538 && records["packets"] == 1538 && records["cut"] == 1);
  EXPECT_TRUE(packets["played"] == 1539 && packets["refused_length"] == 3)
      << "one is of two frames";
  EXPECT_TRUE(packets["decoded"] == 1536 && packets["shared"] == 1);
  Play(capture, 0, "--frames 0:1");  // none in that part
}

TEST_F(Captures, AreNotWholeWhenPacketsStandInAFormThatTheDriverCannotRead) {
  CaptureBuilder half, all, other;
  int n = 0;
  for (const auto& packet : Simulated(2)) {
    const auto tagged = CaptureBuilder::VlanTagged(packet);
    half.Record(++n % 3 == 0 && n % 768 != 0 ? tagged : packet);
    all.Record(tagged);
    other.Record(packet).Record(CaptureBuilder::VlanTagged(From(packet, 7, 0x41)));
    if (n % 2 == 0) other.Record(CaptureBuilder::Frame({1, 2}, 2368, 6));
  }
  EXPECT_EQ(Play(half, 5)["unreadable_packets"].Dump(), R"({"vlan":510})");
  EXPECT_EQ(Play(half, 5, "--frames 1:2")["unreadable_packets"].Dump(), R"({"vlan":255})");
  EXPECT_EQ(Play(other, 0)["unreadable_packets"].Size(), 0U);
  Play(all, 3);
  EXPECT_THAT(outcome_.err, HasSubstr("those to port 2368 are VLAN-tagged"));
}

TEST_F(Captures, GiveOnlyWholeFramesUnlessTheOthersAreAskedFor) {
  const auto packets = Simulated(4);
  CaptureBuilder capture;
  for (std::size_t i = 300; i < 2900; ++i) capture.Record(packets[i]);
  const JsonValue sums = Play(capture, 0, "--out f");
  EXPECT_EQ(dir_.Files("f"), (Names{"frame_000001.pcd", "frame_000002.pcd"})) << "keep the number";
  const JsonValue left_out = sums["partial_frames"];
  ASSERT_EQ(left_out.Size(), 2U);
  EXPECT_EQ(left_out[0]["frame"], 0);
  EXPECT_EQ(left_out[0]["points"], (768 - 300) * 64);
  EXPECT_EQ(left_out[1]["points"].Whole() / 64, 2900 - 3 * 768);
  EXPECT_EQ(sums["points"], 2 * sums["points_per_frame"]["median"].Whole());
  Play(capture, 4, "--out f");
  EXPECT_EQ(Play(capture, 0, "--out f --force --partial")["files_written"], 4);
  EXPECT_EQ(Play(capture, 0, "--frames :2 --out one.ply")["files_written"], 1);
  Play(capture, 2, "--frames :3 --out two.ply");
  EXPECT_THAT(outcome_.err, HasSubstr("choose one frame with --frames 1:2"));
  Play(capture, 3, "--frames 0:1");
  EXPECT_THAT(outcome_.err, HasSubstr("--partial keeps"));
}

TEST_F(Captures, OfTwoSensorsAreToldApart) {
  CaptureBuilder plain, mixed, ports;
  for (const auto& packet : Simulated(2)) {
    plain.Record(packet);
    mixed.Record(packet).Record(From(packet, 201));
    ports.Record(packet).Record(From(packet, 201, 0x41));
  }
  const JsonValue alone = Play(plain, 0);
  EXPECT_EQ(alone["senders"].Dump(), R"(["192.168.1.200:2368"])");
  EXPECT_EQ(Play(mixed, 0)["senders"].Size(), 2U);
  EXPECT_THAT(outcome_.err, HasSubstr("192.168.1.200:2368 and 192.168.1.201:2368 send"));
  const JsonValue chosen = Play(mixed, 0, "--source 192.168.1.201");
  EXPECT_EQ(chosen["senders"].Dump(), R"(["192.168.1.201:2368"])");
  EXPECT_EQ(chosen["points_per_frame"], alone["points_per_frame"]);
  EXPECT_EQ(chosen["non_zero_points"], alone["non_zero_points"]);
  Play(ports, 2);
  EXPECT_THAT(outcome_.err, HasSubstr("choose one with --port (2368 or 2369)"));
  const std::pair<CaptureBuilder, std::string> rows[] = {{mixed, "--source"},
                                                         {ports, "--port 2368 or 2369"}};
  for (const auto& [capture, advice] : rows) {
    capture.Write(dir_ / "c.pcap");
    const JsonValue flows = RunJson("info c.pcap --model JUNIQ")["flows"];
    for (const int i : {0, 1}) EXPECT_EQ(flows[i]["complete_frames"], 2) << advice;
    EXPECT_THAT(outcome_.err, HasSubstr(advice));
  }
}

TEST_F(Captures, ArePlayedUntilCtrlCThenReportedAsNotDone) {
  CaptureBuilder endless;
  for (int i = 0; i < 20000; ++i) endless.Udp(test::JuniqPacket());
  endless.Write(dir_ / "c.pcap");
  std::thread user([&] {
    test::Eventually([&] { return exists(dir_ / "f/frame_000000.csv"); });
    Signal(SIGINT);
  });
  const JsonValue sums = RunJson("play c.pcap --model juniq --point juniq --out f --format csv", 5);
  user.join();
  EXPECT_THAT(outcome_.err, HasSubstr("interrupted"));
  EXPECT_EQ(sums["interrupted"], true);
  EXPECT_EQ(dir_.Files("f").size(), sums["files_written"]);
  EXPECT_LT(sums["files_written"], 13);
}

}  // namespace
}  // namespace orliq::cli
