// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/CapturePlayer.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <map>
#include <thread>

#include "orliq/clouds/RoundPlayer.h"
#include "orliq/sensors/Models.h"
#include "support/JsonValue.h"
#include "support/Playback.h"
#include "support/SimulatedCapture.h"

namespace orliq::cli {
namespace {

using Cloud = PointCloud<PointTime>;

/// Frames without points, of which only the times count.
class Player : public testing::Test {
 protected:
  void Begin(std::vector<double> times) {
    times_ = std::move(times);
    hub_.Join(1);  // a page looks
    thread_ = std::thread([this] {
      CapturePlayer player(
          static_cast<int>(times_.size()), [this](int entry) { return Play(entry); }, hub_);
      player_ = &player;
      player.Run([this] { ++looks_; });
      player_ = nullptr;
    });
    ASSERT_TRUE(test::Eventually([this] { return player_ != nullptr; }));
  }
  ~Player() override {
    if (player_ != nullptr) (*player_).End();
    test::MustEnd("the player", [this] { thread_.join(); });
    EXPECT_TRUE(hub_.Take(1, R"({"do":"play"})")) << "which nobody hears any more";
  }

  std::optional<TakenCloud> Play(int entry) {
    ++plays_;
    auto cloud = std::make_shared<Cloud>();
    cloud->timestamp = times_[static_cast<std::size_t>(entry)];
    return TakenCloud{cloud, View(*cloud), {}};
  }

  /// Whether the frames that the page is shown end with these, in time. `state_` is what it was told
  /// last.
  bool EndsWith(std::vector<int> entries) {
    return test::Eventually([&] {
      while (const auto message = hub_.Next(1)) Take(*message);
      return shown_.size() >= entries.size() &&
             std::equal(entries.rbegin(), entries.rend(), shown_.rbegin());
    });
  }

  void Take(const WebMessage& message) {
    if (!message.binary) {
      state_ = message.head;
      return;
    }
    const auto json = test::JsonValue::Parse(message.head.substr(8));
    shown_.push_back(static_cast<int>(json["entry"].Whole()));
    hub_.Take(1, R"({"do":"shown","frame":)" + json["frame"].Dump() + '}');
  }

  ViewHub hub_{"hello"};
  std::vector<double> times_;
  std::vector<int> shown_;  // entries
  std::string state_;
  std::atomic<CapturePlayer*> player_{nullptr};
  std::atomic<int> looks_{0}, plays_{0};
  std::thread thread_;
};

TEST_F(Player, PlaysInALoopOrToTheEnd) {
  Begin({100.0, 100.2});  // so slow that no frame is missed on a busy machine
  EXPECT_TRUE(EndsWith({0, 1, 0, 1}));
  (*player_).Command(SetLoop{false});
  EXPECT_TRUE(EndsWith({0, 1}));
  EXPECT_TRUE(test::Eventually([&] {
    while (const auto message = hub_.Next(1)) Take(*message);
    return state_.find(R"("playing":false,"entry":1)") != std::string::npos;
  }));
  (*player_).Command(SetPlaying{true});
  EXPECT_TRUE(EndsWith({1, 0, 1})) << "from the start again";
}

TEST_F(Player, StepsAndSeeksToTheFrameThatIsAskedFor) {
  Begin({1.0, 2.0, 3.0, 4.0});
  (*player_).Command(StepFrames{1});
  EXPECT_TRUE(EndsWith({1}));
  (*player_).Command(StepFrames{-1});
  EXPECT_TRUE(EndsWith({1, 0}));
  (*player_).Command(StepFrames{-1});
  EXPECT_TRUE(EndsWith({0, 3})) << "before the first one is the last";
  (*player_).Command(SeekFrame{99});
  (*player_).Command(StepFrames{-1});
  EXPECT_TRUE(EndsWith({2})) << "of several commands the last one's frame";
  const auto before = shown_.size();
  (*player_).Command(SetSpeed{10.0});
  (*player_).Command(SetPlaying{false});
  (*player_).Command(SeekFrame{2});
  EXPECT_TRUE(EndsWith({2, 2}));
  EXPECT_EQ(shown_.size(), before + 1) << "it is paused";
  const int looks = looks_;
  EXPECT_TRUE(test::Eventually([&] { return looks_ > looks + 2; })) << "and yet looked after";
}

TEST_F(Player, DecodesTheOnlyFrameOnce) {
  Begin({1.0});
  EXPECT_TRUE(EndsWith({0}));
  const int looks = looks_;
  EXPECT_TRUE(test::Eventually([&] { return looks_ > looks + 4; })) << "longer than a frame's time";
  EXPECT_EQ(plays_, 1);
  EXPECT_NE(state_.find(R"("playing":true)"), std::string::npos);
  (*player_).Command(SetLoop{false});
  EXPECT_TRUE(test::Eventually([&] {
    while (const auto message = hub_.Next(1)) Take(*message);
    return state_.find(R"("playing":false)") != std::string::npos;
  }));
  (*player_).Command(SetPlaying{true});
  EXPECT_TRUE(EndsWith({0, 0})) << "again, as that is asked for";
}

TEST_F(Player, PlaysAsFastAsItIsTold) {
  Begin({1.0, 2.9, 4.8, 6.7, 8.6, 10.5, 12.4});
  (*player_).Command(SetSpeed{10.0});
  EXPECT_TRUE(EndsWith({0, 1, 2, 3, 4, 5, 6})) << "eleven seconds in one";
}

/// Whatever was played before: a decoder that remembers the packet before must not show.
TEST(RoundPlayer, GivesTheSameFramesInAnyOrder) {
  for (const char* const model : {"juniq", "kelvane", "corvik"}) {
    const test::SimulatedCapture capture(5, {}, model);
    const auto param = [&] {
      return test::Playback<PointTime>::Param(capture.capture, capture.check_folder,
                                              lidar::FindSensorModel(std::string(model))->type);
    };
    const auto play = [&](const std::vector<std::size_t>& rounds, int sensors) {
      const FramesWanted wanted = {
          model, lidar::FindSensorModel(std::string(model)), param(), "", 2, {0, 1, 2, 3, 4}};
      RoundPlayer<Cloud> player(
          std::vector<FramesWanted>(static_cast<std::size_t>(sensors), wanted));
      EXPECT_TRUE(player.Open());
      EXPECT_EQ(player.Rounds(), 5U);
      std::map<std::size_t, std::vector<float>> xs;
      for (const std::size_t round : rounds) {
        std::vector<CloudPart> parts;
        const auto cloud = player.Play(round, parts);
        EXPECT_EQ(parts.size(), static_cast<std::size_t>(sensors));
        EXPECT_EQ(cloud->timestamp, parts.front().timestamp);
        EXPECT_EQ(parts.back().entry, static_cast<int>(round));
        std::vector<float> x;
        for (const PointTime& point : cloud->points) x.push_back(point.x);
        const auto known = xs.emplace(round, x);
        EXPECT_TRUE(known.first->second == x) << model << " frame " << round << " again";
      }
      return xs;
    };
    const auto forward = play({0, 1, 2, 3, 4}, 1);
    EXPECT_TRUE(play({3, 1, 1, 4, 2, 0, 4, 0, 3}, 1) == forward) << model;
    const auto two = play({2, 0, 1, 3}, 2);
    std::vector<float> twice = forward.at(2);
    twice.insert(twice.end(), forward.at(2).begin(), forward.at(2).end());
    EXPECT_TRUE(two.at(2) == twice) << model;
  }
}

}  // namespace
}  // namespace orliq::cli
