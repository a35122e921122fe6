// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/ViewHub.h"

#include <gtest/gtest.h>

#include <cstring>
#include <ctime>

#include "orliq/verbs/view/ViewTexts.h"
#include "support/JsonValue.h"

namespace orliq::cli {
namespace {

using test::JsonValue;

template <typename P>
TakenCloud Taken(const std::vector<P>& points, double timestamp = 0.0) {
  auto cloud = std::make_shared<PointCloud<P>>();
  cloud->points = points;
  cloud->timestamp = timestamp;
  return {cloud, View(*cloud), {{points.size(), timestamp}}};
}

std::uint32_t Word(const std::string& bytes, std::size_t at) {
  std::uint32_t word = 0;
  std::memcpy(&word, bytes.data() + at, sizeof(word));
  return word;
}

/// A message as a page reads it.
struct Received {
  explicit Received(const WebMessage& message) : bytes(message.head) {
    if (message.body) bytes += *message.body;
    EXPECT_EQ(Word(bytes, 0), 0x3146564FU);
    start = 8 + Word(bytes, 4);
    json = JsonValue::Parse(bytes.substr(8, start - 8));
  }

  template <typename Number>
  std::vector<Number> Array(const std::string& name) const {
    for (const JsonValue& array : json["arrays"].Elements()) {
      if (array["name"] != name) continue;
      const auto count = static_cast<std::size_t>(array["count"].Whole() * json["points"].Whole());
      const auto offset = static_cast<std::size_t>(array["offset"].Whole());
      EXPECT_EQ(offset % 8, 0U) << name;
      std::vector<Number> numbers(count);
      EXPECT_LE(offset + count * sizeof(Number), bytes.size()) << name;
      std::memcpy(numbers.data(), bytes.data() + offset, count * sizeof(Number));
      return numbers;
    }
    ADD_FAILURE() << "no " << name;
    return {};
  }

  std::string Types() const {
    std::string types;
    for (const JsonValue& array : json["arrays"].Elements()) types += array["type"].Text() + ' ';
    return types;
  }

  std::string bytes;
  std::size_t start = 0;
  JsonValue json = nullptr;
};

TEST(FrameMessage, HoldsEveryFieldOfEveryPointType) {
  ShownFrame frame;
  frame.number = 7;
  frame.entry = 3;
  const auto encode = [&](std::uint64_t skipped) {
    const auto arrays = std::make_shared<std::string>(99, 'x');
    FillArrays(frame.cloud.view, *arrays);
    const WebMessage message = {true, FrameHead(frame, skipped), arrays};
    return Received(message);
  };
  PointSource a;
  a.x = 1.5F, a.y = -2.0F, a.z = 3.0F, a.intensity = 65535, a.ring = 2, a.timestamp = 1e9 + 1e-6;
  a.distance = -5;
  a.source[0] = 9;
  a.source[8] = 8;
  PointSource b = a;
  b.x = -7.0F;
  frame.cloud = Taken<PointSource>({a, b, a}, 1e9);
  for (const std::uint64_t skipped : {0ULL, 9ULL, 999999999999ULL}) {
    const Received got = encode(skipped);
    EXPECT_EQ(got.start % 8, 0U);
    EXPECT_EQ(got.json["skipped"], skipped);
    EXPECT_EQ(got.Array<float>("xyz"), (std::vector<float>{1.5, -2, 3, -7, -2, 3, 1.5, -2, 3}));
    EXPECT_EQ(got.Array<std::uint16_t>("intensity"), (std::vector<std::uint16_t>(3, 65535)));
    EXPECT_EQ(got.Array<std::uint16_t>("ring"), (std::vector<std::uint16_t>(3, 2)));
    EXPECT_EQ(got.Array<double>("timestamp"), (std::vector<double>(3, 1e9 + 1e-6)));
    EXPECT_EQ(got.Array<std::int32_t>("distance"), (std::vector<std::int32_t>(3, -5)));
    EXPECT_EQ(got.Array<std::uint8_t>("source")[9 + 8], 8);
    EXPECT_EQ(got.Types(), "f32 u16 u16 f64 i32 u8 ");
  }
  const JsonValue json = encode(0).json;
  EXPECT_TRUE(json["frame"] == 7 && json["entry"] == 3 && json["time"] == 1e9);
  EXPECT_FALSE(json.Has("age_ms")) << "it is of a capture";
  JuniqPoint wide;
  wide.peak = 0xFFFFFF, wide.column = 255;
  frame.cloud = Taken<JuniqPoint>({wide});
  frame.entry = -1;
  const Received live = encode(0);
  EXPECT_EQ(live.Array<std::uint32_t>("peak")[0], 0xFFFFFFU);
  EXPECT_EQ(live.Array<std::uint16_t>("column")[0], 255);
  EXPECT_TRUE(live.json.Has("age_ms") && !live.json.Has("entry"));
  EXPECT_NEAR(live.json["sent"].Number(), static_cast<double>(std::time(nullptr)), 60.0);
  frame.cloud = Taken<Point>({});
  EXPECT_EQ(encode(0).json["points"], 0);
}

TEST(ViewCommand, IsTakenInItsExactFormOnly) {
  for (const char* const text : {R"({"do":"shown","frame":18446744073709551615})",
                                 R"({"do":"shown","frame":-1})",
                                 R"({"do":"shown","frame":1.5})",
                                 R"({"do":"shown"})",
                                 R"({"do":"step","by":0})",
                                 R"({"do":"step","by":2})",
                                 R"({"do":"seek","entry":-1})",
                                 R"({"do":"seek","entry":2147483648})",
                                 R"({"do":"seek","entry":"1"})",
                                 R"({"do":"speed","factor":0.09})",
                                 R"({"do":"speed","factor":10.1})",
                                 R"({"do":"speed","factor":null})",
                                 R"({"do":"loop","on":1})",
                                 R"({"do":"fly"})",
                                 R"({"do":1})",
                                 R"([{"do":"play"}])",
                                 R"("play")",
                                 R"({"do":"play")",
                                 "",
                                 "{",
                                 "[[[[[[[[",
                                 "{\"do\":\"play\",\"x\":{}}",
                                 "\xFF"}) {
    EXPECT_FALSE(ParseCommand(text).has_value()) << text;
  }
  const auto player = [](const char* text) {
    return std::get<PlayerCommand>(ParseCommand(text).value());
  };
  EXPECT_EQ(std::get<FrameShown>(*ParseCommand(R"({"do":"shown","frame":5})")).frame, 5U);
  EXPECT_TRUE(std::get<SetPlaying>(player(R"({"do":"play"})")).playing);
  EXPECT_FALSE(std::get<SetPlaying>(player(R"({"do":"pause"})")).playing);
  EXPECT_EQ(std::get<StepFrames>(player(R"({"do":"step","by":-1})")).by, -1);
  EXPECT_EQ(std::get<SeekFrame>(player(R"({"do":"seek","entry":2147483647})")).entry, 2147483647);
  EXPECT_EQ(std::get<SetSpeed>(player(R"({"do":"speed","factor":10})")).factor, 10.0);
  EXPECT_TRUE(std::get<SetLoop>(player(R"({"do":"loop","on":true})")).on);
}

TEST(ViewTexts, TellHowASensorStands) {
  const Model& model = KnownModel("juniq");
  lidar::DriverParam param;
  param.lidar_type = model.type;
  param.decoder_param.transform_param = {1, 1.0F, 2.0F, 3.0F, 0.0F, 0.0F, 90.0F};  // yaw [deg]
  const JsonValue sensor =
      JsonValue::Parse(HelloText({"", "point", {{"a", &model, param}}, 0}))["sensors"][0];
  EXPECT_EQ(sensor["origin"].Dump(), "[1.0,2.0,3.0]");
  const JsonValue rotation = sensor["rotation"];
  EXPECT_TRUE(rotation[1] < -0.99 && rotation[3] > 0.99) << "its x axis is the cloud's y axis";
}

class Hub : public testing::Test {
 protected:
  void Show(int frames = 1) {
    for (int i = 0; i < frames; ++i) hub_.Show(Taken<Point>({{}}), -1);
  }

  /// What the page gets next: the text, the frame's number, or nothing.
  std::string Next(WebHandler::Client page) {
    const auto message = hub_.Next(page);
    if (!message) return "-";
    if (!message->binary) return message->head;
    const Received frame(*message);
    return frame.json["frame"].Dump() + " skipped " + frame.json["skipped"].Dump();
  }

  void Shown(WebHandler::Client page, int frame) {
    EXPECT_TRUE(hub_.Take(page, R"({"do":"shown","frame":)" + std::to_string(frame) + '}'));
  }

  ViewHub hub_{"hello"};
};

TEST_F(Hub, GivesASlowPageTheNewestFrameAndCountsTheOthers) {
  Show(4);
  hub_.Join(1);
  EXPECT_EQ(Next(1), "hello");
  EXPECT_EQ(Next(1), "4 skipped 0") << "those before it came are none of its";
  EXPECT_EQ(Next(1), "-");
  Show(2);
  EXPECT_EQ(Next(1), "6 skipped 1");
  Show(3);
  EXPECT_EQ(Next(1), "-") << "two are under way";
  EXPECT_EQ(hub_.Read().skipped, 3U) << "9 may still come to it; 5, 7 and 8 cannot";
  Shown(1, 3);
  EXPECT_EQ(Next(1), "-") << "none of these was shown";
  Shown(1, 4);
  EXPECT_EQ(Next(1), "9 skipped 3");
  Shown(1, 9);
  Show(1);
  EXPECT_EQ(Next(1), "10 skipped 3");
  hub_.Join(2);
  Next(2);
  EXPECT_EQ(Next(2), "10 skipped 0") << "another page has its own count";
  ViewHub::Sums sums = hub_.Read();
  EXPECT_TRUE(sums.frames == 10 && sums.sent == 5 && sums.skipped == 3 && sums.pages == 2);
  Show(2);
  hub_.Leave(1);
  sums = hub_.Read();
  EXPECT_TRUE(sums.sent == 5 && sums.skipped == 3 + 1 + 1 && sums.pages == 1 &&
              sums.most_pages == 2);
}

TEST_F(Hub, TellsEachPageTheLatestOfEachKindOnceAndAllSamples) {
  hub_.TellImu("before");
  hub_.Join(1);
  hub_.TellPlayer("player 1");
  hub_.TellPlayer("player 2");
  hub_.TellLedger("ledger");
  hub_.TellImu("imu 0");
  hub_.TellImu("imu 1");
  for (const char* const text : {"hello", "player 2", "ledger", "imu 0", "imu 1", "-"}) {
    EXPECT_EQ(Next(1), text);
  }
  for (int i = 0; i < 25; ++i) hub_.TellImu("late " + std::to_string(i));
  EXPECT_EQ(Next(1), "late 5") << "20 wait for a slow page";
  hub_.Join(2);
  hub_.TellEnd("end");
  for (const char* const text : {"hello", "player 2", "ledger", "end", "-"})
    EXPECT_EQ(Next(2), text);
}

TEST_F(Hub, HandsCommandsToThePlayer) {
  hub_.Join(1);
  EXPECT_TRUE(hub_.Take(1, R"({"do":"play"})")) << "without a player it has no effect";
  int entry = 0;
  hub_.SetPlayer([&](const PlayerCommand& command) { entry = std::get<SeekFrame>(command).entry; });
  EXPECT_TRUE(hub_.Take(1, R"({"do":"seek","entry":4})"));
  EXPECT_EQ(entry, 4);
  EXPECT_FALSE(hub_.Take(1, "play"));
}

/// The arrays are made when a page can take them, not for each frame that comes.
TEST_F(Hub, LetsGoOfAFrameThatNobodyWants) {
  auto taken = Taken<Point>({{}});
  const std::weak_ptr<const void> first = taken.owner;
  hub_.Show(std::move(taken), -1);
  EXPECT_FALSE(first.expired());
  Show();
  EXPECT_TRUE(first.expired());
}

}  // namespace
}  // namespace orliq::cli
