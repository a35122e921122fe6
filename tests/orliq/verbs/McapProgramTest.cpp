// SPDX-License-Identifier: Apache-2.0
// Files of messages, as a user's shell has them written and played.
#include "orliq/mcap/McapFile.h"
#include "orliq/mcap/McapReader.h"
#include "orliq/mcap/PacketMessage.h"
#include "support/GentleSender.h"
#include "support/RunningProgram.h"
#include "support/SimulatedCapture.h"

namespace orliq::cli {
namespace {

using test::JsonValue;
using testing::HasSubstr;
using Messages = std::map<std::string, std::vector<std::string>>;

/// Four frames of a sensor, each of 768 packets.
const test::SimulatedCapture& Sensor() {
  static const test::SimulatedCapture sensor(4);
  return sensor;
}

class McapProgram : public test::RunningProgram {
 protected:
  /// The messages of the file by topic, up to where it ends early or late.
  Messages Read(const std::string& name, bool whole = true) const {
    McapReader reader(dir_ / name);
    Messages messages;
    for (McapMessage message; reader.Next(message);) {
      messages[reader.Topic().name].emplace_back(message.data);
    }
    EXPECT_EQ(reader.Fault().empty(), whole) << reader.Fault();
    return messages;
  }

  void Listen(const std::string& arguments, const std::string& before = "") {
    Start("live --port " + std::to_string(port_) + tables_ + arguments, before);
    ASSERT_TRUE(test::Eventually([&] { return HasNoted("listening on"); })) << dir_.Read("err");
  }

  void Send(std::ptrdiff_t from, std::ptrdiff_t to) const {
    const auto begin = Sensor().packets.begin();
    ASSERT_TRUE(test::SendAll({begin + from, begin + to}, port_));
  }

  JsonValue Play(const std::string& capture, const std::string& more, int code = 0) {
    return RunJson("play " + capture + tables_ + " --point juniq " + more, code);
  }

  const std::uint16_t port_ = test::FreePort();
  const std::string tables_ = " --model juniq --check-folder " + Sensor().check_folder;
};

TEST_F(McapProgram, PlaysItsPacketsToTheVerySameFramesAlsoOfAFileThatWasCut) {
  Play(Sensor().capture, "--out frames");
  for (const std::string more : {"", " --no-compression"}) {
    const JsonValue report = Play(Sensor().capture, "--force --out f.mcap --with-packets" + more);
    EXPECT_EQ(report["files_written"], 1);
    EXPECT_EQ(report["clouds"][0]["file"], "f.mcap");
    Play("f.mcap", "--force --out again");
    EXPECT_TRUE(Same("frames", "again"));
  }
  const Messages all = Read("f.mcap");
  EXPECT_EQ(all.at("/points").size(), 4U);
  EXPECT_EQ(all.at("/packets").size(), Sensor().packets.size());
  EXPECT_EQ(RunJson("info f.mcap")["records"], Sensor().packets.size());
  EXPECT_THAT(ExpectRefusal({"play f.mcap --topic /x" + tables_, 3, "no packets at /x"}).out, "");

  std::filesystem::resize_file(dir_ / "f.mcap", 6'000'000);
  const JsonValue cut = Play("f.mcap", "--force --out again", 5);
  EXPECT_THAT(outcome_.err, HasSubstr("f.mcap ends in the middle of a record at byte "));
  EXPECT_EQ(cut["frames"], 4) << "the packets stand before the clouds";
  std::filesystem::resize_file(dir_ / "f.mcap", 100);
  ExpectRefusal({"play f.mcap" + tables_, 4, "and before that holds no packets"});
}

TEST_F(McapProgram, TakesThePacketsOfOnePortAndCountsMessagesThatAreNone) {
  {
    McapFile file(dir_ / "two.mcap", {});
    const std::size_t topic = file.AddTopic("/any", kRosPacket);
    RosTime stamp = {1700000000, 0};
    for (const auto& payload : Sensor().packets) {
      stamp.nanoseconds += 100'000;
      for (const std::uint16_t port : {std::uint16_t{2368}, std::uint16_t{2369}}) {
        const std::string_view data(reinterpret_cast<const char*>(payload.data()), payload.size());
        const PacketMessage packet = {stamp, {10, 0, 0, 1}, 2368, {10, 0, 0, 2}, port, data};
        file.Publish(topic, stamp, [&](std::string& to) { AppendPacket(packet, to); });
      }
    }
    file.Publish(topic, stamp, "no packet");
    file.Finish();
  }
  Play("two.mcap", "--port 2369 --out one.mcap --with-packets", 5);
  EXPECT_THAT(outcome_.err, HasSubstr("1 message in two.mcap should be packets and make none"));
  EXPECT_EQ(Read("one.mcap").at("/packets").size(), Sensor().packets.size());
}

TEST_F(McapProgram, HoldsLiveWhatPlayMakesOfThePackets) {
  Listen(" --point juniq --out live.mcap --with-packets --partial --json");
  Send(0, 3 * 768 + 100);
  ASSERT_TRUE(test::Eventually([&] {
    std::error_code none;  // the last frame's chunk was put, as the time has passed
    return std::filesystem::file_size(dir_ / "live.mcap", none) > 1'000'000;
  }));
  const auto live = Finish(SIGINT);
  ASSERT_EQ(live.code, 0) << live.err;
  const JsonValue report = JsonValue::Parse(live.out);
  const Messages messages = Read("live.mcap");
  Play(Sensor().capture, "--frames :3 --out played.mcap");
  EXPECT_EQ(report["frames"], 3);
  const Messages played = Read("played.mcap");
  ASSERT_EQ(messages.at("/points").size(), 3U);
  for (std::size_t i = 0; i < 3; ++i) {
    // But for the stamp: a played frame has the time of the packet that ended the one before.
    const auto head = [i](const Messages& of) { return of.at("/points").at(i).substr(0, 4); };
    const auto rest = [i](const Messages& of) { return of.at("/points").at(i).substr(12); };
    EXPECT_EQ(head(messages), head(played));
    const bool same = rest(messages) == rest(played);
    EXPECT_TRUE(same) << i;  // too long to be shown
  }
  EXPECT_GT(report["imu_samples"], 0);
  EXPECT_EQ(report["imu_samples"], messages.at("/imu").size());

  const auto packets = messages.at("/packets");
  ASSERT_EQ(packets.size(), 3U * 768 + 100) << "those too that ended no frame";
  const auto last = ReadPacketCdr(packets.back());
  ASSERT_TRUE(last);
  EXPECT_EQ(last->data.size(), Sensor().packets.front().size());
  EXPECT_EQ(last->port, port_);
  EXPECT_EQ(last->source, (std::array<std::uint8_t, 4>{127, 0, 0, 1}));
  EXPECT_NEAR(last->stamp.seconds, static_cast<double>(std::time(nullptr)), 60)
      << "the hour at which they came";
  Play("live.mcap", "--frames :3 --out again");
  Play(Sensor().capture, "--frames :3 --out frames");
  EXPECT_TRUE(Same("frames", "again"));
}

TEST_F(McapProgram, KeepsNoPacketBehindTheLastFrameThatIsWanted) {
  Listen(" --out live.mcap --with-packets --frames 1 --partial --json");
  Send(0, 2 * 768);
  EXPECT_EQ(JsonValue::Parse(Finish().out)["packets_not_written"], 0);
  EXPECT_EQ(Read("live.mcap").at("/packets").size(), 768U);
  EXPECT_EQ(RunJson("info live.mcap")["flows"][0]["destination"], "0.0.0.0");
}

TEST_F(McapProgram, IsReadableToTheCutWhenLiveIsKilled) {
  Listen(" --out live.mcap --partial");
  Send(0, 2 * 768);  // and nothing more, with which the file could be seen to
  std::size_t clouds = 0;
  const auto written = [&] {
    McapReader reader(dir_ / "live.mcap");
    clouds = 0;
    for (McapMessage message; reader.Next(message);) clouds += reader.Topic().name == "/points";
    return clouds == 2;
  };
  ASSERT_TRUE(test::Eventually(written)) << "though nothing more comes";
  Finish(SIGKILL);
  EXPECT_EQ(Read("live.mcap", false).at("/points").size(), 2U);
}

TEST_F(McapProgram, CountsWhatAFullDiskDidNotTake) {
  Listen(" --point juniq --out f.mcap --partial --no-compression --with-packets --json",
         "ulimit -f 5000; ");
  Send(0, 4 * 768);  // of 2.4 MB each, where 2.5 MB have room
  ASSERT_TRUE(test::Eventually([&] { return HasNoted("cannot write f.mcap: File too large"); }));
  const auto live = Finish(SIGINT);
  EXPECT_EQ(live.code, 5) << live.err;
  const JsonValue report = JsonValue::Parse(live.out);
  const Messages messages = Read("f.mcap", false);
  const auto of = [&](const char* topic) {
    const auto found = messages.find(topic);
    return found == messages.end() ? 0U : found->second.size();
  };
  EXPECT_EQ(report["file_unfinished"], true);
  EXPECT_GT(report["frames_with_fault"], 0);
  EXPECT_EQ(report["frames"], of("/points") + report["frames_with_fault"].Whole());
  EXPECT_EQ(report["imu_samples"], of("/imu") + report["samples_not_written"].Whole());
  EXPECT_GT(report["packets_not_written"], 0);
  EXPECT_EQ(report["packets_decoded"], of("/packets") + report["packets_not_written"].Whole());
}

TEST_F(McapProgram, LeavesAFileThatExistsAndRefusesWhatMakesNoSense) {
  dir_.Write("f.mcap", "mine");
  const std::string play = "play " + Sensor().capture + tables_;
  const std::string live = "live --port " + std::to_string(port_) + tables_;
  for (const std::string& start : {play, live}) {
    ExpectRefusal({start + " --out f.mcap", 4, "f.mcap exists: --force replaces it"});
    ExpectRefusal({start + " --out g.mcap --format pcd", 2, "contradicts the ending"});
    ExpectRefusal({start + " --out g --no-compression", 2, "name it with --out FILE.mcap"});
    ExpectRefusal({start + " --with-packets", 2, "name it with --out FILE.mcap"});
  }
  ExpectRefusal({play + " --topic /x", 2, "--topic is for a file of messages"});
  EXPECT_EQ(dir_.Read("f.mcap"), "mine");
  ExpectRefusal({play + " --frames 9: --out f.mcap --force", 2, "the capture's last frame"});
  EXPECT_EQ(dir_.Read("f.mcap"), "mine") << "until there is something in its place";
  EXPECT_FALSE(std::filesystem::exists(dir_ / "g.mcap"));
  ExpectRefusal({"play f.mcap" + tables_, 4, "it is no capture file"});
}

TEST_F(McapProgram, TellsFramesByWhereTheSensorStands) {
  Play(Sensor().capture, "--frames :1 --out own.mcap");
  Play(Sensor().capture, "--frames :1 --out robot.mcap --transform 1,2,3,0,0,90");
  EXPECT_THAT(Read("own.mcap").at("/points")[0].substr(0, 30), HasSubstr("juniq"));
  EXPECT_THAT(Read("robot.mcap").at("/points")[0].substr(0, 30), HasSubstr("base_link"));
}

TEST_F(McapProgram, CountsTimeForASensorThatTellsNone) {
  const auto outcome =
      Run("simulate --model kelvane --frames 3 --quiet --out k.pcap --start-time 1700000000");
  ASSERT_EQ(outcome.code, 0) << outcome.err;
  RunJson("play k.pcap --model kelvane --partial --out k.mcap");
  McapReader reader(dir_ / "k.mcap");
  std::vector<std::uint64_t> times;
  for (McapMessage message; reader.Next(message);) times.push_back(message.log_time / 1000);
  ASSERT_GT(times.size(), 2U);
  EXPECT_NEAR(static_cast<double>(times[0]), 1.7e15, 1e6);
  for (std::size_t i = 1; i < times.size(); ++i) {
    EXPECT_NEAR(static_cast<double>(times[i] - times[i - 1]), 1e5, 1.0);
  }
}

#ifdef ORLIQ_HAS_YAML
TEST_F(McapProgram, KeepsThePacketsOfEachSensorThatIsFused) {
  const std::string sensor = ", model: juniq, capture: " + Sensor().capture +
                             ", check_folder: " + Sensor().check_folder + "}\n";
  const test::SimulatedCapture other(3, {}, "corvik");
  dir_.Write("sensors.yaml", "sensors:\n  - {name: front" + sensor +
                                 "  - {name: rear, model: corvik, capture: " + other.capture +
                                 ", extrinsics: {x: -3, yaw: 180}}\n");
  const JsonValue report =
      RunJson("fuse --config sensors.yaml --point juniq --out f.mcap --with-packets");
  const Messages messages = Read("f.mcap");
  EXPECT_EQ(report["fused_clouds"], messages.at("/points").size());
  EXPECT_THAT(messages.at("/points")[0].substr(0, 30), HasSubstr("base_link"));
  const float rear[] = {-3.0F, 0.0F, 0.0F};  // where it stands: points without a return
  const std::string place(reinterpret_cast<const char*>(rear), sizeof rear);
  EXPECT_THAT(messages.at("/points")[0], testing::Not(HasSubstr(place)));
  EXPECT_EQ(messages.at("/rear/packets").size(), other.packets.size());
  Play(Sensor().capture, "--out frames");
  Play("f.mcap", "--topic /front/packets --out again");
  EXPECT_TRUE(Same("frames", "again"));
}

TEST_F(McapProgram, KeepsThePacketsOfEachLiveSensor) {
  const std::uint16_t other = test::FreePort();
  const auto sensor = [](const std::string& name, std::uint16_t port) {
    return "  - {name: " + name +
           ", model: juniq, address: 127.0.0.1, port: " + std::to_string(port) +
           ", check_folder: " + Sensor().check_folder + "}\n";
  };
  dir_.Write("live.yaml", "sensors:\n" + sensor("front", port_) + sensor("rear", other));
  Start("live --config live.yaml --out f.mcap --with-packets --partial --frames 1");
  ASSERT_TRUE(test::Eventually([&] { return HasNoted("listening on"); })) << dir_.Read("err");
  const auto packets = Sensor().packets.begin();
  ASSERT_TRUE(test::SendAll({packets, packets + 768}, other));
  Send(700, 2 * 768);
  Finish();
  const Messages messages = Read("f.mcap");
  ASSERT_EQ(messages.at("/rear/packets").size(), 768U);
  EXPECT_GE(messages.at("/front/packets").size(), 68U);
  const auto packet = ReadPacketCdr(messages.at("/rear/packets").back());
  ASSERT_TRUE(packet);
  EXPECT_EQ(packet->port, other);
  EXPECT_EQ(packet->destination, (std::array<std::uint8_t, 4>{127, 0, 0, 1}));
}
#endif

}  // namespace
}  // namespace orliq::cli
