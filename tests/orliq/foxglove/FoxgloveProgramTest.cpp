// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <csignal>
#include <cstring>

#include "support/Loopback.h"
#include "support/RunningProgram.h"
#include "support/WebClient.h"

namespace orliq::cli {
namespace {

using testing::HasSubstr;

constexpr char kStream[] = "foxglove.websocket.v1";
constexpr std::uint32_t kPoses = 1, kStates = 2, kPoints = 3, kSamples = 4;  // of one sensor

class FoxgloveProgram : public test::RunningProgram {
 protected:
  /// Starts it with --foxglove and waits for its address.
  void StartServing(const std::string& arguments, const std::string& before = "") {
    Start(arguments + " --foxglove 0", before);
    ASSERT_TRUE(test::Eventually([this] { return HasNoted("foxglove: ws://127.0.0.1:"); }))
        << dir_.Read("err");
    ASSERT_TRUE(test::Eventually(
        [&] { return arguments.rfind("view", 0) != 0 || HasNoted("view: http://127.0.0.1:"); }));
    port_ = PortBehind("foxglove: ws://127.0.0.1:");
  }

  std::uint16_t PortBehind(const std::string& words) const {
    const std::string err = dir_.Read("err");
    return static_cast<std::uint16_t>(std::stoi(err.substr(err.find(words) + words.size())));
  }

  /// Connects it and subscribes to each channel by its own number.
  static void Watch(test::WebClient& viewer, std::uint32_t channels) {
    ASSERT_EQ(viewer.Upgrade("Host: localhost\r\n", "/", kStream), "101");
    for (std::uint32_t i = 1; i <= channels; ++i) {
      const std::string number = std::to_string(i);
      viewer.Say(test::WebClient::Frame(0x81, R"({"op":"subscribe","subscriptions":[{"id":)" +
                                                  number + R"(,"channelId":)" + number + "}]}"));
    }
  }

  /// The next message of that channel; empty when none comes, whatever comes of others.
  static std::string Next(test::WebClient& viewer, std::uint32_t channel) {
    const auto end = std::chrono::steady_clock::now() + 2 * test::kDeadline;
    while (std::chrono::steady_clock::now() < end) {
      const auto message = viewer.Next();
      if (message.kind == 0 || message.kind == 8) return {};
      if (message.kind != 2) continue;
      std::uint32_t id = 0;
      std::memcpy(&id, message.payload.data() + 1, sizeof id);
      if (id == channel) return message.payload.substr(13);
    }
    return {};
  }

  /// Of the header of a message; empty: there is none.
  static std::string FrameOf(const std::string& message) {
    return message.size() < 20 ? "" : message.c_str() + 16;
  }

  /// Of a cloud without row and column: the number of its points.
  static std::uint32_t Width(const std::string& cloud) {
    if (cloud.size() < 100) return 0;
    std::uint32_t frame = 0, width = 0;  // length of the frame's name, 0 at its end included
    std::memcpy(&frame, cloud.data() + 12, sizeof frame);
    const std::size_t behind = 4 + (12 + frame + 3) / 4 * 4;
    std::memcpy(&width, cloud.data() + behind + 4, sizeof width);
    return width;
  }

  std::uint16_t port_ = 0;
};

TEST_F(FoxgloveProgram, BridgePublishesACaptureWithoutDds) {
  Simulate("--frames 4");
  const auto played = RunJson("play room.pcap --model juniq --check-folder room");
  // No address for DDS would end it.
  ASSERT_NO_FATAL_FAILURE(
      StartServing("bridge room.pcap --model juniq --check-folder room --name front --loop --json "
                   "--no-dds --transform 1,2,3,0,0,0",
                   "export CYCLONEDDS_URI=none ROS_DOMAIN_ID=none; "));
  const std::string taken = std::to_string(port_);
  EXPECT_THAT(Run("bridge none.pcap --model juniq --no-dds --foxglove " + taken).err,
              HasSubstr("cannot listen on TCP port " + taken + " of 127.0.0.1: Address already"))
      << "before the capture is looked at";
  test::WebClient viewer(port_);
  ASSERT_NO_FATAL_FAILURE(Watch(viewer, 3));
  EXPECT_THAT(Next(viewer, kPoses), HasSubstr("base_link"));
  const std::string cloud = Next(viewer, kPoints);
  EXPECT_EQ(FrameOf(cloud), "front");
  EXPECT_GE(Width(cloud), played["points_per_frame"]["min"]);
  EXPECT_LE(Width(cloud), played["points_per_frame"]["max"]);
  EXPECT_THAT(Next(viewer, kStates), HasSubstr("orliq bridge: front"));
  Signal(SIGINT);
  test::WebClient::Message last;
  do last = viewer.Next();
  while (last.kind == 2);
  EXPECT_EQ(last.payload, "\x03\xE9") << "going away";
  const auto outcome = Finish();
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_THAT(outcome.err, Not(HasSubstr("DDS")));
  const auto report = test::JsonValue::Parse(outcome.out);
  EXPECT_EQ(report["foxglove_viewers"], 1);
  EXPECT_GE(report["foxglove_sent"], 3);
  EXPECT_EQ(report["foxglove_left_out"], 0);
}

/// Which plays though no page is open, and rests when one asks for it.
TEST_F(FoxgloveProgram, ViewShowsACaptureToViewersAsToItsPage) {
  Simulate("--frames 4");
  const auto played = RunJson("play room.pcap --model juniq --check-folder room --frames 2:3");
  ASSERT_NO_FATAL_FAILURE(StartServing(
      "view room.pcap --model juniq --check-folder room --http 0 --json --transform 1,2,3,0,0,0"));
  test::WebClient first(port_);
  ASSERT_NO_FATAL_FAILURE(Watch(first, 3));
  EXPECT_THAT(Next(first, kPoses), HasSubstr("juniq"));
  for (int i = 0; i < 6; ++i) {
    ASSERT_EQ(FrameOf(Next(first, kPoints)), "base_link") << i;
  }
  EXPECT_THAT(Next(first, kStates), HasSubstr("orliq view: juniq"));
  test::WebClient page(PortBehind("view: http://127.0.0.1:"));
  ASSERT_EQ(page.Upgrade("Host: localhost\r\n", "/stream", "orliq.view.1"), "101");
  page.Say(test::WebClient::Frame(0x81, R"({"do":"pause"})"));
  page.Hear(R"("playing":false)");
  page.Say(test::WebClient::Frame(0x81, R"({"do":"seek","entry":2})"));
  const auto is_seen = [&] {
    test::WebClient late(port_);
    Watch(late, 3);
    return Width(Next(late, kPoints)) == played["points"];
  };
  ASSERT_TRUE(test::Eventually(is_seen)) << "what was asked for";
  EXPECT_TRUE(is_seen()) << "by whoever joins while it rests";
  const auto outcome = Finish(SIGINT);
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  const auto report = test::JsonValue::Parse(outcome.out);
  EXPECT_GE(report["foxglove_viewers"], 1);
  EXPECT_GE(report["foxglove_sent"], 9);
}

TEST_F(FoxgloveProgram, ViewLeavesWhatTheDriverDoesNotMoveInAFrameOfItsOwn) {
  const auto made = Run("simulate --model kelvane --frames 2 --out hall.pcap --quiet");
  ASSERT_EQ(made.code, 0) << made.err;
  ASSERT_NO_FATAL_FAILURE(
      StartServing("view hall.pcap --model kelvane --http 0 --transform 1,2,3,0,0,0"));
  test::WebClient viewer(port_);
  ASSERT_NO_FATAL_FAILURE(Watch(viewer, kPoints));
  EXPECT_EQ(FrameOf(Next(viewer, kPoints)), "kelvane");
  EXPECT_EQ(Finish(SIGINT).code, 0);
}

TEST_F(FoxgloveProgram, ViewGivesNoPlaceToWhatAMovedCorvikDidNotMeasure) {
  const auto made = Run("simulate --model corvik --frames 2 --out hall.pcap --quiet");
  ASSERT_EQ(made.code, 0) << made.err;
  ASSERT_NO_FATAL_FAILURE(
      StartServing("view hall.pcap --model corvik --http 0 --transform 1,2,3,0,0,0"));
  test::WebClient viewer(port_);
  ASSERT_NO_FATAL_FAILURE(Watch(viewer, kPoints));
  const std::string cloud = Next(viewer, kPoints);
  EXPECT_EQ(FrameOf(cloud), "base_link");
  const float stands[] = {1.0F, 2.0F, 3.0F};
  const std::string place(reinterpret_cast<const char*>(stands), sizeof stands);
  EXPECT_EQ(cloud.find(place), std::string::npos);
  EXPECT_EQ(Finish(SIGINT).code, 0);
}

TEST_F(FoxgloveProgram, ViewGivesSamplesAndStatesOfALiveSensor) {
  const std::string port = std::to_string(test::FreePort());
  Simulate("--frames 1");
  ASSERT_NO_FATAL_FAILURE(StartServing(
      "view --model juniq --check-folder room --address 127.0.0.1 --http 0 --json --port " + port));
  test::WebClient viewer(port_);
  ASSERT_NO_FATAL_FAILURE(Watch(viewer, 4));
  std::string state;
  for (int i = 0; i < 60 && state.find("Check that") == std::string::npos; ++i) {  // once a second
    state = Next(viewer, kStates);
  }
  ASSERT_THAT(state, HasSubstr("Check that"));
  EXPECT_EQ(state.at(24), 2) << "an error";
  const auto sent = Run("simulate --model juniq --frames 10 --quiet --to 127.0.0.1:" + port);
  EXPECT_EQ(sent.code, 0) << sent.err;
  EXPECT_EQ(FrameOf(Next(viewer, kSamples)), "juniq");
  EXPECT_EQ(FrameOf(Next(viewer, kPoints)), "base_link");
  const auto outcome = Finish(SIGINT);
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  EXPECT_GE(test::JsonValue::Parse(outcome.out)["foxglove_sent"], 5);
}

TEST_F(FoxgloveProgram, RefusesOptionsThatAreOfNoUse) {
  const std::string bridge = "bridge --model corvik --address 127.0.0.1 --port 2368 ";
  for (const auto& row : std::vector<test::Refusal>{
           {bridge + "--foxglove-listen 127.0.0.1", 2, "--foxglove-listen is of no use without"},
           {bridge + "--foxglove-origin https://a.example", 2, "--foxglove-origin is of no use"},
           {bridge + "--no-dds", 2, "--no-dds leaves no road"},
           {bridge + "--no-dds --foxglove 0 --reliable", 2, "--reliable is of DDS"},
           {bridge + "--foxglove 65536", 2, "from 0 to 65535"},
           {bridge + "--foxglove 0 --foxglove-listen robot", 2, "--foxglove-listen"},
           {bridge + "--foxglove 0 --foxglove-origin https://a.example/", 2, "without a path"},
           {bridge + "--foxglove 0 --foxglove-origin a.example", 2, "as a browser tells it"},
           {bridge + "--foxglove 0 --foxglove-origin https://A.example", 2, "in lower case"},
           {bridge + "--foxglove 0 --foxglove-origin ://a", 2, "as a browser tells it"},
           {bridge + "--no-dds --foxglove 0 --foxglove-listen 203.0.113.1", 4,
            "cannot listen on TCP port 0 of 203.0.113.1"},
           {"bridge --list --foxglove 0", 2, "leave out --foxglove"},
           {"bridge --list --no-dds", 2, "leave out --no-dds"},
           {"view --model corvik --port 2368 --foxglove-listen 127.0.0.1", 2, "is of no use"},
           {"view --model corvik --foxglove 0 --foxglove-origin https://a.example none.pcap", 4,
            "cannot read none.pcap"},
           {"view none.pcap --model corvik --foxglove 8787", 2, "another port than the page"},
           {"view none.pcap --model corvik --http 0 --foxglove 0 --foxglove-listen 203.0.113.1", 4,
            "cannot listen on TCP port 0 of 203.0.113.1"}}) {
    ExpectRefusal(row);
  }
#ifdef ORLIQ_HAS_YAML
  dir_.Write("twins.yaml",
             "sensors:\n  - {name: a.b, model: corvik, port: 2368, address: 127.0.0.1}\n"
             "  - {name: a_b, model: corvik, port: 2369, address: 127.0.0.1}\n");
  ExpectRefusal(
      {"view --config twins.yaml --http 0 --foxglove 0", 2, "both be called /a_b/points"});
#endif
}

}  // namespace
}  // namespace orliq::cli
