// SPDX-License-Identifier: Apache-2.0
#include "orliq/foxglove/FoxgloveOutlet.h"

#include <gmock/gmock.h>

#include <cstring>
#include <deque>
#include <thread>

#include "orliq/terminal/ExitCode.h"
#include "support/JsonValue.h"
#include "support/Threads.h"
#include "support/WebClient.h"

namespace orliq::cli {
namespace {

using test::JsonValue;
using testing::HasSubstr;

constexpr char kStream[] = "foxglove.websocket.v1";
constexpr std::uint32_t kPoses = 1, kCloud = 2, kSamples = 3, kStates = 4;  // channels

/// What a viewer sees and says.
class Viewer : public test::WebClient {
 public:
  explicit Viewer(std::uint16_t port) : WebClient(port) {
    status = Upgrade("Host: localhost\r\n", "/", std::string("foxglove.sdk.v1, ") + kStream);
  }
  void Tell(const std::string& text) const { Say(Frame(0x81, text)); }
  void Subscribe(std::uint32_t id, std::uint32_t channel) const {
    Tell(R"({"op":"subscribe","subscriptions":[{"id":)" + std::to_string(id) + R"(,"channelId":)" +
         std::to_string(channel) + "}]}");
  }
  JsonValue NextText() {
    const Message message = Next();
    return message.kind == 1 ? JsonValue::Parse(message.payload) : nullptr;
  }
  std::string status;
};

class Foxglove : public testing::Test {
 protected:
  void Start(FoxgloveSettings settings = {}) {
    outlet_ = std::make_unique<FoxgloveOutlet>(std::move(settings));
    for (const RosTopic& topic :
         {RosTopic{"/tf_static", &kRosTransforms, true},
          RosTopic{"/front/points", &kRosPointCloud2}, RosTopic{"/front/imu", &kRosImu},
          RosTopic{"/diagnostics", &kRosDiagnostics}}) {
      outlet_->AddTopic(topic);
    }
    const std::string place = outlet_->Listen();
    port_ = static_cast<std::uint16_t>(std::stoi(place.substr(place.rfind(':') + 1)));
  }

  void Publish(std::uint32_t channel, const std::string& cdr) const {
    outlet_->Publish(channel - 1, {1, 2}, std::make_shared<const std::string>(cdr));
  }

  /// A viewer that was greeted, and is subscribed to this.
  std::unique_ptr<Viewer> Join(std::uint32_t id, std::uint32_t channel) const {
    auto viewer = std::make_unique<Viewer>(port_);
    EXPECT_EQ(viewer->status, "101");
    for (const char* const op : {"serverInfo", "advertise"}) {
      EXPECT_EQ(viewer->NextText()["op"], op);
    }
    viewer->Subscribe(id, channel);
    viewer->Tell("mark");  // whose answer comes when the subscription holds
    EXPECT_EQ(viewer->NextText()["op"], "status");
    return viewer;
  }

  std::uint16_t port_ = 0;
  std::unique_ptr<FoxgloveOutlet> outlet_;
};

TEST_F(Foxglove, TellsWhatThereIsAndSendsWhatIsSubscribedTo) {
  Start();
  Publish(kPoses, "old poses");
  Publish(kPoses, "poses");
  Publish(kCloud, "nobody sees this");
  Viewer viewer(port_);
  ASSERT_EQ(viewer.status, "101");
  EXPECT_THAT(viewer.Hear("\r\n\r\n"),
              HasSubstr("Sec-WebSocket-Protocol: foxglove.websocket.v1\r\n"));
  const JsonValue info = viewer.NextText();
  EXPECT_EQ(info["op"], "serverInfo");
  EXPECT_EQ(info["capabilities"].Dump(), "[]");
  EXPECT_FALSE(info.Has("supportedEncodings")) << "which is of servers that take messages";
  const JsonValue channels = viewer.NextText()["channels"];
  ASSERT_EQ(channels.Size(), 4U);
  EXPECT_EQ(channels[1].Size(), 6U);
  EXPECT_EQ(channels[1]["id"], 2);
  EXPECT_EQ(channels[1]["topic"], "/front/points");
  EXPECT_EQ(channels[1]["encoding"], "cdr");
  EXPECT_EQ(channels[1]["schemaName"], "sensor_msgs/msg/PointCloud2");
  EXPECT_EQ(channels[1]["schema"], kRosPointCloud2.definition);
  EXPECT_EQ(channels[1]["schemaEncoding"], "ros2msg");
  viewer.Subscribe(0xA1B2C3D4, kPoses);
  const std::uint64_t before = RosTimeNow().Nanoseconds();
  const auto poses = viewer.Next();
  ASSERT_EQ(poses.kind, 2);
  EXPECT_EQ(poses.payload.substr(0, 5), "\x01\xD4\xC3\xB2\xA1");
  std::uint64_t time = 0;
  std::memcpy(&time, poses.payload.data() + 5, sizeof time);
  EXPECT_NEAR(static_cast<double>(time), static_cast<double>(before), 60e9) << "the present";
  EXPECT_EQ(poses.payload.substr(13), "poses") << "the latest, though it came before";
  viewer.Subscribe(9, kCloud);
  viewer.Tell("mark");
  EXPECT_EQ(viewer.NextText()["op"], "status") << "no cloud of before";
  Publish(kStates, "not subscribed to");
  Publish(kCloud, "cloud");
  EXPECT_EQ(viewer.Next().payload.substr(13), "cloud");
  viewer.Tell(R"({"op":"unsubscribe","subscriptionIds":[9]})");
  viewer.Tell("mark");
  EXPECT_EQ(viewer.NextText()["op"], "status");
  Publish(kCloud, "no more");
  Publish(kPoses, "new poses");
  EXPECT_EQ(viewer.Next().payload.substr(13), "new poses");
  const FoxgloveOutlet::Sums sums = outlet_->Read();
  EXPECT_EQ(sums.sent, 3);
  EXPECT_EQ(sums.left_out, 0);
}

TEST_F(Foxglove, AnswersWhatItCannotDoAndGoesOn) {
  Start();
  const auto viewer = Join(1, kCloud);
  const std::pair<std::string, int> rows[] = {
      {R"({"op":"subscribe","subscriptions":[{"id":2,"channelId":0}]})", 1},
      {R"({"op":"subscribe","subscriptions":[{"id":2,"channelId":5}]})", 1},
      {R"({"op":"subscribe","subscriptions":[{"id":2,"channelId":2}]})", 1},
      {R"({"op":"subscribe","subscriptions":[{"id":1,"channelId":3}]})", 2},
      {R"({"op":"unsubscribe","subscriptionIds":[2]})", 1},
      {R"({"op":"fetchAsset","uri":"x","requestId":1})", 2},
      {std::string(60000, '['), 2}};
  for (const auto& [text, level] : rows) {
    viewer->Tell(text);
    const JsonValue status = viewer->NextText();
    EXPECT_EQ(status["op"], "status") << text.substr(0, 80);
    EXPECT_EQ(status["level"], level) << text.substr(0, 80) << status;
  }
  viewer->Say(test::WebClient::Frame(0x82, "\x01\x01"));
  EXPECT_THAT(viewer->NextText()["message"].Text(), HasSubstr("not offered"));
  Publish(kCloud, "cloud");
  EXPECT_EQ(viewer->Next().payload.substr(13), "cloud");
  Viewer long_winded(port_);
  long_winded.Say(test::WebClient::Frame(0x01, std::string(60000, ' ')) +
                  test::WebClient::Frame(0x80, std::string(60000, ' ')));
  test::WebClient::Message last;
  do last = long_winded.Next();
  while (last.kind == 1);
  EXPECT_EQ(last.kind, 8);
  EXPECT_EQ(last.payload.substr(0, 2), "\x03\xF0") << "1008, too long";
  {
    Viewer gone(port_);
    gone.Tell("\xFF\xFE");
    gone.Subscribe(1, kCloud);
    gone.Say(test::WebClient::Frame(0x81, "mid-message").substr(0, 8));
  }
  EXPECT_TRUE(test::Eventually([&] { return outlet_->Read().viewers <= 2; }));
  Publish(kCloud, "next");
  EXPECT_EQ(viewer->Next().payload.substr(13), "next");
}

/// While one takes nothing, another gets every cloud, and who publishes waits for neither.
TEST_F(Foxglove, AStalledViewerGetsTheNewestAndCostsNobodyElseAnything) {
  constexpr int kClouds = 40;
  Start();
  auto stalled = Join(1, kCloud);
  stalled->Subscribe(2, kSamples);
  stalled->Subscribe(3, kStates);
  stalled->Tell("mark");
  EXPECT_EQ(stalled->NextText()["op"], "status");
  const auto quick = Join(5, kCloud);
  const std::string large(200000, 'x');
  for (int i = 0; i < kClouds; ++i) {
    const std::string name = "cloud " + std::to_string(i);
    test::MustEnd("publishing", [&] { Publish(kCloud, name + large); });
    ASSERT_EQ(quick->Next().payload.substr(13, name.size()), name);
  }
  for (int i = 0; i < 1200; ++i) Publish(kSamples, "sample " + std::to_string(i));
  for (int i = 0; i < 20; ++i) Publish(kStates, "state " + std::to_string(i));
  const FoxgloveOutlet::Sums sums = outlet_->Read();
  EXPECT_EQ(sums.viewers, 2);
  EXPECT_GE(sums.left_out, 32 + 200 + 10) << "the system keeps next to nothing for a socket";
  int last = -1, clouds = 0, samples = 0, states = 0;
  while (states < 10) {
    const auto message = stalled->Next();
    ASSERT_EQ(message.kind, 2);
    const std::string text = message.payload.substr(13, 20);
    const int number = std::stoi(text.substr(text.find(' ')));
    if (text[0] == 'c') {
      EXPECT_GT(number, last);
      last = number;
      ++clouds;
    }
    if (text[1] == 'a') {
      EXPECT_EQ(number, 200 + samples++);
    }
    if (text[1] == 't') {
      EXPECT_EQ(number, 10 + states++);
    }
  }
  EXPECT_EQ(last, kClouds - 1);
  EXPECT_EQ(samples, 1000);
  EXPECT_EQ(clouds + samples + states + static_cast<int>(outlet_->Read().left_out), kClouds + 1220);
  stalled.reset();
  EXPECT_TRUE(test::Eventually([&] { return outlet_->Read().viewers == 1; }));
  EXPECT_EQ(outlet_->Read().left_out, sums.left_out) << "also of those that have left";
}

TEST_F(Foxglove, KeepsTheLastOfEveryTopicOfASourceThatRests) {
  FoxgloveSettings settings;
  settings.keeps_last = true;
  Start(settings);
  Publish(kCloud, "first");
  const auto early = Join(1, kStates);
  Publish(kCloud, "second");
  Viewer late(port_);
  late.Subscribe(2, kCloud);
  test::WebClient::Message message;
  do message = late.Next();
  while (message.kind == 1);
  EXPECT_EQ(message.payload.substr(13), "second");
}

TEST_F(Foxglove, HasRoomForEightViewersWhoAllGetTheSame) {
  Start();
  std::deque<std::unique_ptr<Viewer>> viewers;
  for (std::uint32_t i = 0; i < WebServer::kClients; ++i) viewers.push_back(Join(i, kCloud));
  EXPECT_EQ(Viewer(port_).status, "503");
  const std::string cloud(1200000, 'c');
  std::thread publisher([&] { Publish(kCloud, cloud); });
  for (const auto& viewer : viewers) EXPECT_EQ(viewer->Next().payload.size(), 13 + cloud.size());
  publisher.join();
  viewers.resize(3);
  EXPECT_TRUE(test::Eventually([&] { return outlet_->Read().viewers == 3; }));
  EXPECT_EQ(outlet_->Read().most_viewers, 8);
  EXPECT_EQ(outlet_->Read().sent, 8) << "also to those that have left";
  outlet_.reset();
  for (const auto& viewer : viewers) {
    const auto farewell = viewer->Next();
    EXPECT_EQ(farewell.kind, 8);
    EXPECT_EQ(farewell.payload.substr(0, 2), "\x03\xE9") << "1001, going away";
  }
}

TEST_F(Foxglove, LetsInProgramsAndPagesOfThisMachineAndThoseThatAreNamed) {
  const auto answer = [this](const std::string& headers, const std::string& protocol = kStream,
                             const std::string& path = "/") {
    return test::WebClient(port_).Upgrade(headers, path, protocol);
  };
  Start();
  EXPECT_EQ(answer("Host: 127.0.0.1:1\r\n"), "101");
  EXPECT_EQ(answer("Host: localhost\r\nOrigin: file://\r\n"), "101");
  EXPECT_EQ(answer("Host: localhost\r\nOrigin: http://localhost:3000\r\n"), "101");
  EXPECT_EQ(answer("Host: localhost\r\nOrigin: https://app.example\r\n"), "403");
  EXPECT_EQ(answer("Host: evil.example\r\n"), "403") << "a name that was pointed here";
  EXPECT_EQ(answer("Host: localhost\r\n", "foxglove.sdk.v1"), "400");
  EXPECT_EQ(answer("Host: localhost\r\n", kStream, "/else"), "400");
  FoxgloveSettings everywhere;
  everywhere.address = "0.0.0.0";
  everywhere.origins = {"https://app.example"};
  Start(everywhere);
  EXPECT_EQ(answer("Host: robot.example\r\n"), "101");
  EXPECT_EQ(answer("Host: robot.example\r\nOrigin: https://app.example\r\n"), "101");
  EXPECT_EQ(answer("Host: evil.example\r\nOrigin: http://evil.example\r\n"), "403");
  FoxgloveSettings taken;
  taken.port = port_;
  EXPECT_THROW(FoxgloveOutlet(taken).Listen(), Failure);
}

}  // namespace
}  // namespace orliq::cli
