// SPDX-License-Identifier: Apache-2.0
// Runs the program itself, as a user's shell does.
#include <gmock/gmock.h>

#include <fstream>
#include <nlohmann/json.hpp>
#include <set>

#include "support/CaptureBuilder.h"
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
  const test::Refusal rows[] = {
      {"", 2, "name a verb"},
      {"play room.pcap --model robin", 2, "use juniq"},
      {"play room.pcap --model glavor", 2, "cannot decode glavor yet"},
      {"play room.pcap --model juniq --frames 3", 2, "write A:B"},
      {"play room.pcap --model juniq --frames 0:1x", 2, "write A:B"},
      {"play room.pcap --model juniq --frames 5:5", 2, "write A:B"},
      {"play room.pcap --model juniq --frames 2:", 2, "last frame is 1"},
      {"play room.pcap --model juniq --min-distance nan", 2, "finite"},
      {"play room.pcap --model juniq --min-azimuth 5 --max-azimuth -5", 2, "--min-azimuth"},
      {"play room.pcap --model juniq --out x.ply --frames :2", 2, "choose one frame"},
      {"info room.pcap --check-folder room", 2, "needs --model"},
      {"simulate --model juniq --out x --check-folder my-offset-tables", 2, "\"offset\""},
      {"play missing.pcap --model juniq", 4, "there is no such file"},
      {"info -", 4, "there is no such file"},
      {"info room", 4, "not a regular file"},
      {"info room/azimuth.csv", 4, "it is no capture file"},
      {"play room.pcap --model juniq --check-folder nowhere", 4, "there is no folder nowhere"},
      {"play room.pcap --model juniq --check-folder bad", 4,
       "3 numbers, the azimuth table needs 49,"},
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
  EXPECT_EQ(sums["empty_frames"], 1);
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
    const auto play = Run("play room.pcap --model juniq --frames 1:2 --out c.ply --point " + type);
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
  const auto play = Run("play room.pcap --model juniq --check-folder room --out f --json");
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
  EXPECT_THAT(cut.out, HasSubstr("the last one cut by the capture's end"));
  EXPECT_EQ(Run("info room.pcap").code, 4);

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
}

}  // namespace
}  // namespace orliq::cli
