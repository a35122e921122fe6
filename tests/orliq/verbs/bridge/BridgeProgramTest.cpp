// SPDX-License-Identifier: Apache-2.0
#include <fastcdr/Cdr.h>
#include <gmock/gmock.h>

#include <cmath>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <filesystem>
#include <map>
#include <set>

#include "multi_driver/PointTypes.h"
#include "orliq/dds/DdsOutlet.h"
#include "orliq/dds/FastReader.h"
#include "orliq/ros/RosMessages.h"
#include "simulator/sending/ParamServer.h"
#include "simulator/sensors/CheckImage.h"
#include "simulator/sensors/Sensor.h"
#include "support/Loopback.h"
#include "support/RunningProgram.h"

namespace orliq::cli {
namespace {

using testing::HasSubstr;

constexpr std::chrono::seconds kLimit{20};
constexpr char kCloudType[] = "sensor_msgs::msg::dds_::PointCloud2_";
constexpr std::size_t kRows = 192;
constexpr std::size_t kColumns = 256;

class Bridge : public test::RunningProgram {
 protected:
  void SetUp() override {
    domain_ = TestDomain();
    setenv("ROS_DOMAIN_ID", std::to_string(domain_).c_str(), 1);
    setenv("ROS_LOCALHOST_ONLY", "1", 1);
  }

  std::uint32_t domain_ = 0;
};

/// Frames of a capture as play writes them, by their time: "1700000000.100000".
std::map<std::string, std::vector<JuniqPoint>> ReadFrames(const std::filesystem::path& folder,
                                                          const test::TempDir& dir) {
  std::map<std::string, std::vector<JuniqPoint>> frames;
  for (const auto& entry : std::filesystem::directory_iterator(folder)) {
    const std::string pcd = dir.Read("frames/" + entry.path().filename().string());
    const std::size_t time = pcd.find("UTC: ") + 5;
    const std::size_t data = pcd.find("DATA binary\n") + 12;
    std::vector<JuniqPoint> points((pcd.size() - data) / sizeof(JuniqPoint));
    std::memcpy(points.data(), pcd.data() + data, pcd.size() - data);
    frames[pcd.substr(time, pcd.find('\n', time) - time)] = points;
  }
  return frames;
}

/// A grid with a point for each beam: x, y, z, intensity, ring, row, column and more.
struct Grid {
  explicit Grid(std::string message) {
    eprosima::fastcdr::FastBuffer buffer(message.data(), message.size());
    eprosima::fastcdr::Cdr cdr(buffer, eprosima::fastcdr::Cdr::LITTLE_ENDIANNESS,
                               eprosima::fastcdr::Cdr::DDS_CDR);
    cdr.read_encapsulation();
    std::int32_t seconds = 0;
    std::uint32_t nanoseconds = 0, fields = 0;
    cdr >> seconds >> nanoseconds >> frame >> height >> width >> fields;
    char text[32];
    std::snprintf(text, sizeof text, "%d.%06u", seconds, nanoseconds / 1000);
    time = text;
    for (; fields > 0; --fields) {
      std::string name;
      std::uint32_t offset = 0, count = 0;
      std::uint8_t type = 0;
      cdr >> name >> offset >> type >> count;
    }
    bool big = false;
    std::uint32_t row_step = 0;
    cdr >> big >> step >> row_step >> data;
  }
  float At(std::size_t row, std::size_t column, std::size_t offset) const {
    float value = 0.0F;
    std::memcpy(&value, data.data() + (row * width + column) * step + offset, sizeof value);
    return value;
  }

  std::string time, frame;
  std::uint32_t height = 0, width = 0, step = 0;
  std::vector<std::uint8_t> data;
};

TEST_F(Bridge, AnotherImplementationReceivesTheDecodedPoints) {
  Simulate("--frames 4");
  const auto played = RunJson(
      "play room.pcap --model juniq --check-folder room --point juniq --out frames --format pcd");
  ASSERT_EQ(played["files_written"], 4);
  const auto frames = ReadFrames(dir_ / "frames", dir_);
  FastReader reader(domain_, {"rt/front/points", kCloudType, true});
  Start(
      "bridge room.pcap --model juniq --check-folder room --point juniq --name front --loop "
      "--reliable --transform 1,2,3,10,20,30");
  const Grid grid(reader.Next(kLimit));
  EXPECT_EQ(grid.frame, "front");
  ASSERT_EQ(grid.height, kRows);
  ASSERT_EQ(grid.width, kColumns);
  ASSERT_EQ(frames.count(grid.time), 1) << grid.time;
  std::size_t measured = 0;
  for (const JuniqPoint& point : frames.at(grid.time)) {
    const auto at = [&](std::size_t offset) { return grid.At(point.row, point.column, offset); };
    EXPECT_EQ(at(12), point.intensity);
    if (point.x == 0.0F && point.y == 0.0F && point.z == 0.0F) {
      EXPECT_TRUE(std::isnan(at(0)) && std::isnan(at(4)) && std::isnan(at(8)));
      continue;
    }
    ++measured;
    ASSERT_TRUE(at(0) == point.x && at(4) == point.y && at(8) == point.z)
        << point.row << ' ' << point.column;
  }
  EXPECT_GT(measured, kRows * kColumns / 2);
  EXPECT_EQ(Finish(SIGINT).code, 0);
}

TEST_F(Bridge, EachOfSeveralCapturesHasItsOwnPoints) {
  for (const char* const name : {"a", "b"}) {
    const std::string seed = name[0] == 'a' ? "1" : "2";
    Run("simulate --model corvik --frames 4 --quiet --out " + std::string(name) + ".pcap --seed " +
        seed);
  }
  dir_.Write("both.yaml",
             "sensors:\n  - {name: a, model: corvik, capture: a.pcap}\n"
             "  - {name: b, model: corvik, capture: b.pcap, extrinsics: {x: 5}}\n");
  FastReader reader(domain_, {"rt/b/points", kCloudType, true});
  std::set<std::vector<std::uint8_t>> alone;
  Start("bridge b.pcap --model corvik --name b --loop --reliable");
  for (int i = 0; i < 8; ++i) alone.insert(Grid(reader.Next(kLimit)).data);
  EXPECT_EQ(Finish(SIGINT).code, 0);
  while (!reader.Next(std::chrono::seconds(0)).empty()) {
  }
  Start("bridge --config both.yaml --loop --reliable");
  EXPECT_EQ(alone.count(Grid(reader.Next(kLimit)).data), 1);
  EXPECT_EQ(Finish(SIGINT).code, 0);
}

TEST_F(Bridge, TellsWhereASensorStandsAndHowItIs) {
  const std::uint16_t port = test::FreePort();
  Start(
      "bridge --model corvik --check-folder none --name front --address 127.0.0.1 --transform "
      "1,2,3,0,0,90 --stamp host --json --port " +
      std::to_string(port));
  FastReader poses(domain_, {"rt/tf_static", "tf2_msgs::msg::dds_::TFMessage_", true, true});
  FastReader clouds(domain_, {"rt/front/points", kCloudType});
  const std::string pose = poses.Next(kLimit);
  EXPECT_THAT(pose, HasSubstr("base_link"));
  const double place[] = {1.0, 2.0, 3.0, 0.0, 0.0};
  EXPECT_THAT(pose, HasSubstr(std::string(reinterpret_cast<const char*>(place), sizeof place)));
  test::JsonValue list = nullptr;
  EXPECT_TRUE(test::Eventually([&] {
    const auto heard = test::JsonValue::Parse(Run("bridge --list --json").out);
    if (!heard.Has("sensors")) return false;  // it takes a moment until they know each other
    list = heard["sensors"][0];
    return list["state"] == "error";
  })) << list;
  EXPECT_EQ(list["sensor"], "front");
  EXPECT_EQ(list["topic"], "/front/points");
  EXPECT_THAT(list["message"].Text(), HasSubstr("Check that"));
  const auto sent =
      Run("simulate --model corvik --frames 5 --start-time 1e9 --quiet --to 127.0.0.1:" +
          std::to_string(port));
  EXPECT_EQ(sent.code, 0) << sent.err;
  const Grid cloud(clouds.Next(kLimit));
  EXPECT_NEAR(std::stod(cloud.time), static_cast<double>(std::time(nullptr)), 60.0)
      << "this host's";
  for (std::size_t i = 0; i < cloud.width; ++i) {
    ASSERT_FALSE(cloud.At(0, i, 0) < 0.0F) << i;  // ahead of the sensor, which looks to the left
  }
  const auto outcome = Finish(SIGINT);
  const auto report = test::JsonValue::Parse(outcome.out);
  EXPECT_EQ(report["sensors"][0]["clouds_left_out"], 0);
  EXPECT_EQ(report["sensors"][0]["clouds_published"], report["sensors"][0]["frames"]);
  EXPECT_GE(report["sensors"][0]["frames"], 3);
}

TEST_F(Bridge, ASensorThatIsAtFaultStopsNoOther) {
  sim::ParamServerOptions answers;
  answers.port = test::FreePort();
  std::error_code error;
  const auto params = sim::ParamServer::Create(
      answers, sim::CheckImage(sim::MakeSensor("glavor", {})->Tables()), error);
  ASSERT_NE(params, nullptr) << error.message();
  const std::string port = std::to_string(test::FreePort());
  dir_.Write("two.yaml", "sensors:\n  - {name: a, model: juniq, address: 127.0.0.1, port: " +
                             std::to_string(test::FreePort()) +
                             ", params_from: 127.0.0.1:" + std::to_string(answers.port) +
                             "}\n  - {name: b, model: corvik, address: 127.0.0.1, port: " + port +
                             ", extrinsics: {z: 2}}\n");
  FastReader clouds(domain_, {"rt/b/points", kCloudType});
  Start("bridge --config two.yaml --json");
  const auto noted = [&](const char* words) {
    return test::Eventually([&] { return HasNoted(words); });
  };
  ASSERT_TRUE(noted("a: the sensor does not send every table of a juniq"));
  const std::string simulate =
      "simulate --model corvik --quiet --to 127.0.0.1:" + port + " --frames ";
  const auto send = [&](int frames) { EXPECT_EQ(Run(simulate + std::to_string(frames)).code, 0); };
  send(3);
  EXPECT_GT(Grid(clouds.Next(kLimit)).width, 1000);
  ASSERT_TRUE(noted("b: nothing has arrived for 3 s"));
  EXPECT_FALSE(HasNoted("b: it sends now"));
  send(8);
  ASSERT_TRUE(noted("b: it sends now"));
  const auto list = test::JsonValue::Parse(Run("bridge --list --json").out)["sensors"];
  ASSERT_EQ(list.Size(), 2) << list;
  EXPECT_EQ(list[0]["state"], "error");
  EXPECT_THAT(list[0]["message"].Text(), HasSubstr("no offset table"));
  EXPECT_EQ(list[1]["state"], "ok");
  const auto outcome = Finish(SIGINT);
  EXPECT_EQ(outcome.code, 4);
  EXPECT_THAT(outcome.err, HasSubstr("no cloud of it is published"));
  const auto sensors = test::JsonValue::Parse(outcome.out)["sensors"];
  EXPECT_EQ(sensors[0]["clouds_published"], 0);
  EXPECT_EQ(sensors[1]["clouds_published"], 9);
}

TEST_F(Bridge, AListStandsWhateverOthersSay) {
  DdsOutlet outlet({domain_, false, true});
  const std::size_t topic = outlet.AddTopic({"/diagnostics", &kRosDiagnostics});
  const std::string text = "a\x1B[2J\xFF" + std::string(100000, 'x');
  const RosStatus honest = {RosLevel::kWarn, "orliq bridge: rear", "9.0 frames/s\nor so", "", {}};
  const auto states = std::make_shared<const std::string>(DiagnosticsCdr(
      {}, {{RosLevel{9}, "orliq bridge: " + text, text, text, {{"computer", text}}}, honest}));
  Start("bridge --list --duration 3");
  while (!EndsWithin(std::chrono::milliseconds(100))) {
    outlet.Publish(topic, {}, std::make_shared<const std::string>(states->substr(0, 3000)));
    outlet.Publish(topic, {}, states);
  }
  const auto outcome = Finish();
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.out, HasSubstr("a?[2J?xxx"));
  EXPECT_THAT(outcome.out, testing::ContainsRegex("rear .* warn +9.0 frames/s\n"));
  EXPECT_LT(outcome.out.size(), 10000);
}

TEST_F(Bridge, RefusesWhatItCannotPublish) {
  dir_.Write("twins.yaml",
             "sensors:\n  - {name: a.b, model: corvik, port: 2368, address: 127.0.0.1}\n"
             "  - {name: a_b, model: corvik, port: 2369, address: 127.0.0.1}\n");
  for (const auto& row : std::vector<test::Refusal>{
           {"bridge --list --port 2368", 2, "leave out --port"},
           {"bridge --list --loop", 2, "leave out --loop"},
           {"bridge --model corvik --stamp clock", 2, "clock not in {host,packets}"},
           {"bridge --model corvik --address 127.0.0.1 --port 2368 --loop", 2, "--loop is for a"},
           {"bridge --model corvik --address 127.0.0.1 --duration 0.1 --port " +
                std::to_string(test::FreePort()),
            3, "Check that\n  the sensor is on"},
           {"bridge --config twins.yaml --base a_b", 2, "both be the frame a_b"},
           {"bridge --config twins.yaml --base /map", 2, "begin with \"/\": /map"},
           {"bridge --config twins.yaml --name x", 2, "--name is for one sensor"},
           {"bridge --config twins.yaml", 2, "both be called /a_b/points"},
           {"bridge --list --duration 0.1", 3, "no orliq bridge is heard in domain"}}) {
    ExpectRefusal(row);
  }
}

}  // namespace
}  // namespace orliq::cli
