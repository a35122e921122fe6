// SPDX-License-Identifier: Apache-2.0
#include <gmock/gmock.h>

#include <csignal>

#include "support/Loopback.h"
#include "support/RunningProgram.h"
#include "support/WebClient.h"

namespace orliq::cli {
namespace {

using testing::HasSubstr;

constexpr char kStream[] = "orliq.view.1";

class View : public test::RunningProgram {
 protected:
  /// Starts "orliq view" with these arguments and waits for its address.
  void StartView(const std::string& arguments) {
    Start("view " + arguments + " --http 0");
    ASSERT_TRUE(test::Eventually([this] { return HasNoted("view: http://127.0.0.1:"); }))
        << dir_.Read("err");
    const std::string err = dir_.Read("err");
    port_ = static_cast<std::uint16_t>(std::stoi(err.substr(err.find("127.0.0.1:") + 10)));
  }

  std::uint16_t port_ = 0;
};

TEST_F(View, ShowsACaptureOnItsPage) {
  Simulate("--frames 4");
  const auto played = RunJson("play room.pcap --model juniq --check-folder room --frames 2:3");
  ASSERT_NO_FATAL_FAILURE(StartView("room.pcap --model juniq --check-folder room --json"));
  const std::string page = test::WebClient(port_).Ask("GET /");
  EXPECT_THAT(page, HasSubstr("<canvas"));
  EXPECT_THAT(page, HasSubstr("script-src 'sha256-"));
  EXPECT_THAT(test::WebClient(port_).Ask("GET /licences"), HasSubstr("MIT"));
  const std::string taken = std::to_string(port_);
  EXPECT_THAT(Run("view none.pcap --model juniq --http " + taken).err,
              HasSubstr("cannot listen on TCP port " + taken + " of 127.0.0.1: Address already"))
      << "before the capture is looked at";
  {
    test::WebClient client(port_);
    ASSERT_EQ(client.Upgrade("Host: localhost\r\n", "/stream", kStream), "101");
    client.Say(test::WebClient::Frame(0x81, R"({"do":"pause"})"));
    client.Say(test::WebClient::Frame(0x81, R"({"do":"seek","entry":2})"));
    const std::string heard = client.Hear(R"("entry":2,"time")");
    EXPECT_THAT(heard, HasSubstr(R"({"type":"hello","program":"orliq )"));
    EXPECT_THAT(heard, HasSubstr(R"("title":"room.pcap","point":"point-time")"));
    EXPECT_THAT(heard, HasSubstr(R"("rows":192,"columns":256)"));
    EXPECT_THAT(heard, HasSubstr(R"("entries":4})"));
    const std::string points = played["points"].Dump();
    EXPECT_THAT(client.Hear(R"("arrays")"),
                HasSubstr(R"(,"points":)" + points + R"(,"sensors":[)"));
    Signal(SIGINT);
    EXPECT_THAT(client.Hear(), HasSubstr(R"({"type":"end","text":"orliq view has ended"})"));
  }
  const auto outcome = Finish();
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  const auto report = test::JsonValue::Parse(outcome.out);
  EXPECT_EQ(report["pages"], 1);
  EXPECT_GE(report["frames_sent"], 1);
}

/// In the words of live; and what has come after all is shown.
TEST_F(View, TellsThePageWhyNothingArrives) {
  const std::uint16_t port = test::FreePort();
  ASSERT_NO_FATAL_FAILURE(
      StartView("--model corvik --check-folder none --address 127.0.0.1 --json --port " +
                std::to_string(port)));
  test::WebClient client(port_);
  ASSERT_EQ(client.Upgrade("Host: localhost\r\n", "/stream", kStream), "101");
  EXPECT_THAT(client.Hear("Check that"), HasSubstr(R"("source":"live")"));
  EXPECT_THAT(client.Hear("Check that"), HasSubstr(R"("tone":"bad","text":")"));
  EXPECT_THAT(client.Hear("Check that"),
              HasSubstr(R"({"tone":"plain","text":"corvik needs no calibration)"));
  const auto sent =
      Run("simulate --model corvik --frames 3 --quiet --to 127.0.0.1:" + std::to_string(port));
  EXPECT_EQ(sent.code, 0) << sent.err;
  EXPECT_THAT(client.Hear(R"("age_ms")"), HasSubstr("OVF1"));
  const auto outcome = Finish(SIGINT);
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  const auto report = test::JsonValue::Parse(outcome.out);
  EXPECT_TRUE(report["pages"] == 1 && report["frames_sent"] >= 1) << outcome.out;
  EXPECT_GE(report["frames_shown"], report["frames"]);
}

TEST_F(View, TellsThePageOfEverySensorThatIsSilent) {
  const std::string front = std::to_string(test::FreePort()),
                    rear = std::to_string(test::FreePort());
  dir_.Write("two.yaml",
             "defaults: {address: 127.0.0.1, model: corvik}\nsensors:\n"
             "  - {name: front, port: " +
                 front + "}\n  - {name: rear, port: " + rear + "}\n");
  ASSERT_NO_FATAL_FAILURE(StartView("--config two.yaml --json"));
  test::WebClient client(port_);
  ASSERT_EQ(client.Upgrade("Host: localhost\r\n", "/stream", kStream), "101");
  const std::string all = R"(\nnor did anything arrive of rear at 127.0.0.1:)" + rear + R"("})";
  EXPECT_THAT(client.Hear(all), HasSubstr(all)) << "in one notice with the front one";
  EXPECT_THAT(client.Hear(all),
              HasSubstr(R"({"tone":"bad","text":"front: nothing arrived at 127.0.0.1:)" + front));
  for (const std::string& port : {front, rear, front}) {  // the first cloud is a partial one
    Run("simulate --model corvik --frames 3 --quiet --to 127.0.0.1:" + port);
  }
  EXPECT_THAT(client.Hear(R"("age_ms")"), HasSubstr("OVF1"));
  const auto outcome = Finish(SIGINT);
  EXPECT_EQ(outcome.code, 0) << outcome.err;
  const auto report = test::JsonValue::Parse(outcome.out);
  EXPECT_TRUE(report["pages"] == 1 && report["frames_sent"] >= 1) << outcome.out;
}

TEST_F(View, WantsItsTokenWhereOthersCanReachIt) {
  Simulate("--frames 1");
  Start("view room.pcap --model juniq --check-folder room --http 0 --listen 0.0.0.0");
  ASSERT_TRUE(test::Eventually([this] { return HasNoted("view: http"); }));
  const std::string err = dir_.Read("err");
  const std::size_t query = err.find("/?token=");
  ASSERT_NE(query, std::string::npos) << err;
  const auto port =
      static_cast<std::uint16_t>(std::stoi(err.substr(err.rfind(':', query) + 1, query)));
  EXPECT_THAT(test::WebClient(port).Ask("GET /"), HasSubstr("HTTP/1.1 403"));
  EXPECT_THAT(test::WebClient(port).Ask("GET " + err.substr(query, 40)), HasSubstr("<canvas"));
  EXPECT_EQ(Finish(SIGINT).code, 0);
}

/// Arguments of programs can be read by all users of a machine.
TEST_F(View, OpensTheBrowserUnlessThatTellsTheToken) {
  Simulate("--frames 1");
  const std::string view = "view room.pcap --model juniq --check-folder room --http 0 --open";
  dir_.Write("xdg-open", "#!/bin/sh\necho \"view: $@\" > part && mv part opened\n");
  std::filesystem::permissions(dir_ / "xdg-open", std::filesystem::perms::owner_all);
  const std::string before = "export PATH=\"$PWD:$PATH\"; ";
  Start(view, before);
  ASSERT_TRUE(test::Eventually([this] { return !dir_.Read("opened").empty(); }));
  EXPECT_THAT(dir_.Read("opened"), testing::StartsWith("view: http://127.0.0.1:"));
  EXPECT_THAT(Finish(SIGINT).err, HasSubstr(dir_.Read("opened")));
  std::filesystem::remove(dir_ / "opened");
  Start(view + " --listen 0.0.0.0", before);
  EXPECT_TRUE(test::Eventually([this] { return HasNoted("open it yourself"); }));
  EXPECT_EQ(Finish(SIGINT).code, 0);
  EXPECT_EQ(dir_.Read("opened"), "");
}

TEST_F(View, RefusesWhatItCannotShow) {
  Simulate("--frames 1");
  const std::string captures = "sensors:\n  - {name: a, model: juniq, capture: room.pcap}\n";
  dir_.Write("captures.yaml", captures);
  dir_.Write("mixed.yaml", captures + "  - {name: b, model: juniq, port: 2368}\n");
  for (const auto& row : std::vector<test::Refusal>{
           {"view", 2, "name a capture and its --model, or a live sensor"},
           {"view room.pcap", 2, "name a capture and its --model"},
           {"view --model juniq --port 0", 2, "from 1 to 65535"},
           {"view room.pcap --model juniq --wait 3", 2, "--wait is for a live sensor"},
           {"view room.pcap --config x.yaml", 2, "CAPTURE describes one sensor"},
           {"view --model juniq --port 2368 --listen robot", 2, "--listen"},
           {"view --config mixed.yaml", 2, "b: live sensors and captures cannot be shown together"},
           {"view --config captures.yaml --duration 1", 2, "captures.yaml describes captures"},
           {"view none.pcap --model juniq", 4, "none.pcap"},
           {"view room.pcap --model juniq --check-folder room --listen 203.0.113.1", 4,
            "cannot listen on TCP port 0 of 203.0.113.1"}}) {
    ExpectRefusal({row.arguments + " --http 0", row.code, row.sentence});
  }
}

}  // namespace
}  // namespace orliq::cli
