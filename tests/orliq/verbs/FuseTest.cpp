// SPDX-License-Identifier: Apache-2.0
// Runs `orliq fuse`, as a user's shell does.
#include "support/CaptureBuilder.h"
#include "support/RunningProgram.h"

namespace orliq::cli {
namespace {

using test::JsonValue;
using testing::HasSubstr;

class Fuse : public test::RunningProgram {
 protected:
  /// Simulates a capture NAME.pcap of a sensor of its own.
  void Capture(const std::string& name, const std::string& more) const {
    const std::string folder = " --check-folder tables-" + name;
    const auto outcome = Run("simulate --quiet --out " + name + ".pcap --model " + more + folder);
    ASSERT_EQ(outcome.code, 0) << outcome.err;
  }

  /// Writes sensors.yaml with these entries.
  void Describe(const std::vector<std::string>& sensors) const {
    std::string text = "sensors:\n";
    for (const auto& sensor : sensors) text += "  - {" + sensor + "}\n";
    dir_.Write("sensors.yaml", text);
  }

  static std::string Juniq(const std::string& name, const std::string& more = "") {
    return "name: " + name + ", model: juniq, capture: " + name + ".pcap, check_folder: tables-" +
           name + more;
  }

  /// The points of a PCD file.
  std::string Points(const std::string& file) const {
    const std::string pcd = dir_.Read(file);
    return pcd.substr(std::min(pcd.size(), pcd.find("DATA binary\n") + 12));
  }
  std::string Points(const std::string& folder, int frame) const {
    return Points(folder + "/frame_00000" + std::to_string(frame) + ".pcd");
  }

  JsonValue FuseJson(int code, const std::string& more = "") {
    return RunJson("fuse --config sensors.yaml " + more, code);
  }
};

TEST_F(Fuse, PutsTheFramesOfPlayTogetherUntilTheShortestCaptureEnds) {
  Capture("front", "juniq --frames 3");
  Capture("top", "kelvane --frames 6");
  const std::string kelvane = dir_.Read("top.pcap");
  dir_.Write("top.pcap", std::string(kelvane).erase(24, 300 * 1142));  // half of its first frame
  Describe({"name: top, model: kelvane, capture: top.pcap, first_frame: 2, extrinsics: {x: 1}",
            Juniq("front", ", extrinsics: {x: 1, yaw: 90}, gates: {max_distance: 9}")});
  const JsonValue sums = FuseJson(0, "--out f --point point-time");
  EXPECT_THAT(outcome_.err, HasSubstr("top: extrinsics have no effect"));
  EXPECT_THAT(outcome_.err,
              HasSubstr("unused: 1 frame of top, as the capture of front ends before"));
  Run("play top.pcap --model kelvane --out top --point point-time");
  Run("play front.pcap --model juniq --check-folder tables-front --transform 1,0,0,0,0,90 "
      "--max-distance 9 --out front --point point-time");
  EXPECT_EQ(dir_.Files("f").size(), 3U);
  for (int k = 0; k < 3; ++k) {
    EXPECT_TRUE(Points("f", k) == Points("top", k + 2) + Points("front", k)) << k;
  }
  EXPECT_EQ(sums["fused_clouds"], 3);
  EXPECT_TRUE(sums["time_apart_s"].IsNull()) << "only one of them has time";
  EXPECT_EQ(sums["clouds"][2]["frames"][0]["frame"], 4);
  EXPECT_EQ(sums["sensors"][0]["frames_unused"], 2);
  Capture("side", "corvik --frames 5");
  for (const std::string pose : {"", ", extrinsics: {x: 1}"}) {
    Describe({"name: side, model: corvik, capture: side.pcap, first_frame: 2" + pose});
    const JsonValue side = FuseJson(0, "--out s --force");
    const JsonValue played = RunJson("play side.pcap --model corvik --frames 2:5 --out p --force");
    EXPECT_EQ(side["non_zero_points"], played["non_zero_points"]);
    EXPECT_TRUE(Points("s", 0) == Points("p", 2) || !pose.empty());
  }
  Describe({"name: top, model: kelvane, capture: top.pcap"});
  EXPECT_EQ(FuseJson(0)["sensors"][0]["first_frame"], 1);
  EXPECT_EQ(FuseJson(0, "--partial")["sensors"][0]["first_frame"], 0);
}

TEST_F(Fuse, TellsWhichFirstFrameBringsTheFramesTogether) {
  Capture("front", "juniq --frames 6");
  Capture("rear", "juniq --frames 6 --start-time 1700000000.22");
  Describe({Juniq("front"), Juniq("rear")});
  for (const char* const rounds : {"", "--frames 0:1"}) {
    EXPECT_NEAR(FuseJson(0, rounds)["time_apart_s"]["max"].Number(), 0.22, 0.001);
    EXPECT_THAT(outcome_.err,
                HasSubstr("front is 0.220 s older than that of rear: first_frame: 2"));
  }
  Describe({Juniq("front", ", first_frame: 2"), Juniq("rear")});
  const JsonValue sums = FuseJson(0, "--frames 1: --out f");
  EXPECT_EQ(sums["clouds"][0]["frames"][0]["frame"], 3);
  EXPECT_EQ(sums["clouds"][0]["frames"][1]["frame"], 1);
  EXPECT_EQ(sums["rounds"].Dump(), "[1,4]");
  EXPECT_NEAR(sums["time_apart_s"]["max"].Number(), 0.02, 0.001);
  EXPECT_THAT(outcome_.err, Not(HasSubstr("older"))) << "20 ms are less than half a frame";
  EXPECT_EQ(*dir_.Files("f").begin(), "frame_000001.pcd");

  const std::string front = dir_.Read("front.pcap");
  const std::size_t frame = 768 * 1162;  // [bytes]
  dir_.Write("front.pcap", std::string(front).erase(24 + 3 * frame, frame));
  FuseJson(0);
  EXPECT_THAT(outcome_.err, HasSubstr("in cloud 2 the frame of rear is 0.080 s older"));
  Capture("rear", "juniq --frames 6 --start-time 1700000009 --force");
  FuseJson(0);
  EXPECT_THAT(outcome_.err, HasSubstr("no time in common"));
}

TEST_F(Fuse, TakesOneRecordingOfAllSensorsApart) {
  Capture("front", "juniq --frames 2 --no-radius-filter");
  const std::string file = dir_.Read("front.pcap");
  test::CaptureBuilder builder;
  for (auto at = file.begin() + 24; at != file.end(); at += 16 + 42 + 1104) {
    for (const std::uint8_t host : test::Bytes{200, 201, 202}) {
      test::Bytes packet(at + 16, at + 16 + 42 + 1104);
      packet[29] = host;
      if (host == 202) packet[37] = 0x41;  // to port 2369
      builder.Record(packet);
    }
  }
  builder.Write(dir_ / "front.pcap");
  const auto of_front = [](const std::string& name, const std::string& more) {
    return "name: " + name + Juniq("front", more).substr(11);
  };
  Describe({of_front("a", ", port: 2368, source: 192.168.1.201"), of_front("b", ", port: 2369"),
            of_front("c", ", source: 192.168.1.200")});
  const JsonValue sums = FuseJson(0);
  EXPECT_EQ(sums["fused_clouds"], 2);
  for (const JsonValue& sensor : sums["sensors"].Elements()) {
    EXPECT_EQ(sensor["senders"].Size(), 1U);
    EXPECT_EQ(sensor["points_per_frame"]["max"], 768 * 64);
  }
  const std::pair<const char*, const char*> rows[] = {
      {"",
       "sensors.yaml:3: b: packets that fit juniq go to several ports: choose one with port: ("},
      {", port: 2368", "sensors.yaml:3: b: takes the packets of"}};
  for (const auto& [more, sentence] : rows) {
    Describe({of_front("a", ", source: 192.168.1.201"), of_front("b", more)});
    FuseJson(2);
    EXPECT_THAT(outcome_.err, HasSubstr(sentence));
  }
}

TEST_F(Fuse, RefusesWhatCannotBeFusedAndSaysWhere) {
  Capture("front", "juniq --frames 2");
  dir_.Write("unmarked.pcap", dir_.Read("front.pcap").substr(0, 24 + 100 * 1162));
  std::filesystem::copy(dir_ / "tables-front", dir_ / "tables-unmarked");
  const struct {
    std::string rear;
    int code;
    const char* sentence;
  } rows[] = {
      {"name: rear, model: juniq, port: 2368", 2, "sensors.yaml:3: rear: a live sensor"},
      {"name: rear, model: hestra, capture: front.pcap", 2, "rear: hestra packets complete no"},
      {"name: rear, model: corvik, capture: front.pcap", 3, "try model: juniq. orliq info"},
      {Juniq("unmarked"), 3, "unmarked.pcap holds no frame mark"},
      {Juniq("front", ", first_frame: 2").replace(6, 5, "rear"), 2, "those are 0 to 1, --partial"},
      {"name: rear, model: juniq, capture: rear.pcap", 4, "sensors.yaml:3: rear: cannot read"}};
  for (const auto& row : rows) {
    Describe({Juniq("front"), row.rear});
    FuseJson(row.code);
    EXPECT_THAT(outcome_.err, HasSubstr(row.sentence));
  }
  Describe({Juniq("front")});
  ExpectRefusal({"fuse --config sensors.yaml --frames 2:", 2, "the captures give 2 clouds"});
  ExpectRefusal({"fuse --config sensors.yaml --out one.ply", 2, "--frames 0:1"});
  EXPECT_EQ(FuseJson(0, "--frames 1:2 --out one.ply")["files_written"], 1);
}

TEST_F(Fuse, GivesAFrameThatComesInSeveralCloudsAsOne) {
  Capture("front", "juniq --frames 60 --seed 1 --drop 0.6 --no-radius-filter");
  Describe({Juniq("front")});
  const JsonValue fused = FuseJson(0, "--out f --partial");
  const JsonValue played = RunJson(
      "play front.pcap --model juniq --check-folder tables-front --out p --partial --quiet");
  std::map<std::int64_t, std::string> frames;
  for (const JsonValue& cloud : played["clouds"].Elements()) {
    frames[cloud["frame"].Whole()] += Points(cloud["file"].Text());
  }
  EXPECT_GT(played["clouds"].Size(), frames.size()) << "no frame came in several clouds";
  EXPECT_GE(fused["clouds"].Size() + 1, frames.size()) << "at most an empty end is left out";
  for (const JsonValue& cloud : fused["clouds"].Elements()) {
    EXPECT_TRUE(Points(cloud["file"].Text()) == frames[cloud["frames"][0]["frame"].Whole()])
        << cloud["round"];
  }
}

TEST_F(Fuse, EndsWithLossesWhenACaptureIsDamagedOrTheUserHasEnough) {
  Capture("front", "juniq --frames 40");
  Capture("rear", "juniq --frames 3");
  Describe({Juniq("front"), Juniq("rear")});
  const std::string rear = dir_.Read("rear.pcap");
  dir_.Write("rear.pcap", rear.substr(0, rear.size() - 1));
  EXPECT_EQ(FuseJson(5)["fused_clouds"], 2);
  EXPECT_THAT(outcome_.err, HasSubstr("rear.pcap ends early after 2,303 good records"));
  dir_.Write("rear.pcap", std::string(rear).replace(24 + 800 * 1162 + 58, 1, "x"));
  const JsonValue sums = FuseJson(5);
  EXPECT_EQ(sums["sensors"][0]["refused_identifier"], 0);
  EXPECT_EQ(sums["sensors"][1]["refused_identifier"], 1);
  EXPECT_THAT(outcome_.err, HasSubstr("rear: packets of other kinds"));

  Describe({Juniq("front")});
  Start("fuse --config sensors.yaml --json --out f --format csv --point juniq");
  EXPECT_TRUE(test::Eventually([&] { return exists(dir_ / "f/frame_000000.csv"); }));
  const auto outcome = Finish(SIGINT);
  EXPECT_EQ(outcome.code, 5);
  EXPECT_THAT(outcome.err, HasSubstr("interrupted before all clouds"));
  const JsonValue report = JsonValue::Parse(outcome.out);
  EXPECT_TRUE(report["interrupted"] == true && report["files_written"] < 40);
  EXPECT_EQ(dir_.Files("f").size(), report["files_written"]);
}

}  // namespace
}  // namespace orliq::cli
