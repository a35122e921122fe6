// SPDX-License-Identifier: Apache-2.0
#include "driver/Fusion.h"

#include <gmock/gmock.h>

#include <set>

#include "multi_driver/PointCloud.h"
#include "multi_driver/PointTypes.h"
#include "support/Threads.h"

namespace orliq::lidar {
namespace {

using test::Eventually;
using test::MustEnd;
using Cloud = PointCloud<PointSource>;
using Rings = std::vector<int>;

Rings RingsOf(const Cloud& cloud) {
  Rings rings;
  for (const PointSource& point : cloud.points) rings.push_back(point.ring);
  return rings;
}

/// The thread and the slots of some sensors, whose frames the test gives.
struct Sensors {
  explicit Sensors(std::size_t count) {
    for (std::size_t i = 0; i < count; ++i) {
      slots.push_back(std::make_shared<FusionSlot<Cloud>>(fusion->Arrival()));
    }
  }
  ~Sensors() {
    MustEnd("the fusion", [this] { fusion->StopFusion(); });
  }

  void Start() {
    EXPECT_TRUE(fusion->StartFusion(
        slots, [this](const std::shared_ptr<Cloud>& cloud) { Receive(cloud); }, supplier));
  }
  /// A frame of as many points as the sensor's index and one, all with that ring.
  void Put(std::size_t sensor, int ring) {
    auto cloud = std::make_shared<Cloud>();
    cloud->points.resize(sensor + 1);
    for (auto& point : cloud->points) point.ring = static_cast<std::uint16_t>(ring);
    cloud->timestamp = ring;
    slots[sensor]->PutPointCloud(cloud);
  }
  testing::AssertionResult WaitFor(std::size_t count) {
    return Eventually([this, count] {
      const std::lock_guard lock(mutex);
      return rounds.size() >= count;
    });
  }

  std::shared_ptr<Fusion<Cloud>> fusion = std::make_shared<Fusion<Cloud>>();
  Fusion<Cloud>::Slots slots;
  std::function<void()> on_round = [] {};
  std::function<std::shared_ptr<Cloud>()> supplier = [] { return std::make_shared<Cloud>(); };
  std::mutex mutex;
  std::vector<Rings> rounds;  // guarded by mutex

 private:
  void Receive(const std::shared_ptr<Cloud>& cloud) {
    {
      const std::lock_guard lock(mutex);
      rounds.push_back(RingsOf(*cloud));
    }
    on_round();
  }
};

TEST(Wakeup, KeepsASignalForTheNextWait) {
  Wakeup wakeup;
  wakeup.Signal();
  MustEnd("the wait", [&] { wakeup.Wait(); });
}

TEST(Fusion, ARoundHasTheLatestFrameOfEverySensorInTheirOrder) {
  struct Put {
    std::size_t sensor;
    int ring;
  };
  const struct {
    const char* why;
    std::size_t sensors;
    std::vector<Put> puts;
    std::vector<Rings> rounds;
  } rows[] = {
      {"one sensor", 1, {{0, 1}}, {{1}}},
      {"three frames against one", 2, {{0, 1}, {0, 2}, {0, 3}, {1, 9}}, {{3, 9, 9}}},
      {"the order of arrival does not count", 3, {{2, 3}, {1, 2}, {0, 1}}, {{1, 2, 2, 3, 3, 3}}},
      {"each frame once", 2, {{1, 9}, {0, 1}, {0, 2}, {1, 8}}, {{1, 9, 9}, {2, 8, 8}}},
      {"one of two stalls", 2, {{0, 1}, {1, 9}, {0, 2}, {0, 3}}, {{1, 9, 9}}},
      {"and resumes", 2, {{0, 1}, {1, 9}, {0, 2}, {0, 3}, {1, 8}}, {{1, 9, 9}, {3, 8, 8}}},
  };
  for (const auto& row : rows) {
    Sensors sensors(row.sensors);
    sensors.Start();
    std::set<std::size_t> new_ones;
    std::size_t rounds = 0;
    for (const Put& put : row.puts) {
      sensors.Put(put.sensor, put.ring);
      new_ones.insert(put.sensor);
      if (new_ones.size() < row.sensors) continue;
      EXPECT_TRUE(sensors.WaitFor(++rounds)) << row.why;
      new_ones.clear();
    }
    MustEnd("the fusion", [&] { sensors.fusion->StopFusion(); });
    EXPECT_EQ(sensors.rounds, row.rounds) << row.why;
  }
}

TEST(Fusion, TellsWhatARoundIsMadeOf) {
  Sensors sensors(2);
  std::vector<std::shared_ptr<Cloud>> kept;
  sensors.supplier = [&] { return kept.emplace_back(std::make_shared<Cloud>()); };
  EXPECT_FALSE(sensors.fusion->LatestRound());
  sensors.Start();
  for (const int ring : {1, 2, 3}) sensors.Put(0, ring);
  sensors.Put(1, 9);
  ASSERT_TRUE(sensors.WaitFor(1));
  FusionRound round = *sensors.fusion->LatestRound();
  EXPECT_TRUE(round.skew_s > 0.0 && round.sensors[0].overwritten == 2);
  sensors.Put(1, 8);
  sensors.Put(0, 4);
  ASSERT_TRUE(sensors.WaitFor(2));
  sensors.fusion->StopFusion();
  round = *sensors.fusion->LatestRound();
  EXPECT_EQ(round.number, 2U);
  EXPECT_TRUE(round.sensors.at(0).overwritten == 0 && round.sensors[0].timestamp == 4.0);
  EXPECT_TRUE(round.sensors.at(1).points == 2 && round.sensors[1].age_s > round.sensors[0].age_s);
  EXPECT_NEAR(round.skew_s, round.sensors[1].age_s - round.sensors[0].age_s, 1e-9);
  const auto& points = kept.at(0)->points;
  EXPECT_TRUE(points[0].source[0] == 0 && points[1].source[0] == 1 && points[2].source[0] == 1);

  sensors.Start();
  sensors.Put(0, 5);
  sensors.Put(0, 6);
  sensors.Put(1, 7);
  ASSERT_TRUE(sensors.WaitFor(3));
  sensors.fusion->StopFusion();
  EXPECT_EQ(sensors.fusion->LatestRound()->number, 1U);
  EXPECT_EQ(sensors.fusion->LatestRound()->sensors[0].overwritten, 1U);
}

TEST(Fusion, WithoutSensorsThereIsNoRound) {
  Sensors none(0);
  std::atomic<int> asked{0};
  none.supplier = [&] { return ++asked, std::make_shared<Cloud>(); };
  for (int start = 1; start <= 20; ++start) {
    none.Start();
    EXPECT_TRUE(Eventually([&] { return asked >= start; }));
    none.fusion->StopFusion();
  }
  EXPECT_TRUE(none.rounds.empty());
}

TEST(Fusion, AFrameThatComesDuringTheReceiverBelongsToTheNextRound) {
  Sensors sensors(2);
  test::Hold hold;
  sensors.on_round = [&] { hold(); };
  sensors.Start();
  sensors.Put(0, 1);
  sensors.Put(1, 2);
  ASSERT_TRUE(hold.Reached());
  sensors.Put(0, 3);
  sensors.Put(1, 4);
  hold.go.set_value();
  ASSERT_TRUE(sensors.WaitFor(2));
  sensors.fusion->StopFusion();
  EXPECT_THAT(sensors.rounds, testing::ElementsAre(Rings{1, 2, 2}, Rings{3, 4, 4}));
}

TEST(Fusion, NeitherASupplierWithoutACloudNorNoReceiverStopsIt) {
  Sensors sensors(1);
  std::atomic<int> asked{0};
  sensors.supplier = [&] { return ++asked < 5 ? nullptr : std::make_shared<Cloud>(); };
  sensors.Start();
  sensors.Put(0, 1);
  EXPECT_TRUE(sensors.WaitFor(1));
  sensors.fusion->StopFusion();
  asked = 4;
  EXPECT_TRUE(sensors.fusion->StartFusion(sensors.slots, nullptr, sensors.supplier));
  for (const int rounds : {1, 2}) {
    sensors.Put(0, rounds);
    EXPECT_TRUE(Eventually([&] { return asked == 5 + rounds; })) << "each cloud is given up";
  }
}

TEST(Fusion, NothingIsKeptOfWhatWasHandedOver) {
  Sensors sensors(1);
  std::weak_ptr<Cloud> frame;
  std::weak_ptr<Cloud> supplied;
  long owners = 0;
  std::size_t points = 0;
  std::atomic<int> asked{0};
  sensors.supplier = [&] {
    auto cloud = std::make_shared<Cloud>();
    cloud->points.resize(5);
    supplied = cloud;
    ++asked;
    return cloud;
  };
  const auto receive = [&](const std::shared_ptr<Cloud>& cloud) {
    points = cloud->points.size();
    owners = frame.expired() ? cloud.use_count() : -1;
  };
  auto given = std::make_shared<Cloud>();
  given->points.resize(2);
  frame = given;
  sensors.slots[0]->PutPointCloud(std::move(given));
  EXPECT_TRUE(sensors.fusion->StartFusion(sensors.slots, receive, sensors.supplier));
  EXPECT_TRUE(Eventually([&] { return asked == 2; })) << "the round is over";
  sensors.fusion->StopFusion();
  EXPECT_EQ(owners, 1) << "the receiver is the only one, and the frame is gone";
  EXPECT_EQ(points, 7U) << "behind what the cloud held";
  EXPECT_TRUE(supplied.expired()) << "the one that nobody filled";
}

TEST(Fusion, ASupplierMayStartItAnewWithOtherSensors) {
  for (const int nth : {1, 2}) {
    Sensors sensors(1);
    std::atomic<bool> again{false};
    sensors.supplier = [&, asked = 0, own = Rings(100, nth)]() mutable {
      if (++asked == nth) {
        sensors.slots = {std::make_shared<FusionSlot<Cloud>>(sensors.fusion->Arrival())};
        sensors.supplier = [] { return std::make_shared<Cloud>(); };
        sensors.fusion->StopFusion();
        sensors.Start();
        again = true;
      }
      EXPECT_EQ(own.at(99), nth) << "it is there until it returns";
      return std::make_shared<Cloud>();
    };
    sensors.Put(0, 1);
    sensors.Start();
    ASSERT_TRUE(Eventually([&] { return again.load(); }));
    sensors.Put(0, 2);
    ASSERT_TRUE(sensors.WaitFor(static_cast<std::size_t>(nth)));
    MustEnd("the fusion", [&] { sensors.fusion->StopFusion(); });
    EXPECT_EQ(sensors.rounds.back(), Rings{2});
  }
}

TEST(Fusion, ProducersAtFullSpeedLoseNoFrameUncounted) {
  constexpr int kFrames = 2000;
  Sensors sensors(4);
  std::vector<std::uint64_t> overwritten(4);
  sensors.on_round = [&] {
    const auto round = sensors.fusion->LatestRound();
    for (std::size_t i = 0; i < 4; ++i) overwritten[i] += round->sensors[i].overwritten;
  };
  sensors.Start();
  std::vector<std::thread> producers;
  for (std::size_t sensor = 0; sensor < 4; ++sensor) {
    producers.emplace_back([&sensors, sensor] {
      for (int frame = 1; frame <= kFrames; ++frame) sensors.Put(sensor, frame);
    });
  }
  for (auto& producer : producers) producer.join();
  ASSERT_TRUE(sensors.WaitFor(1));  // of what waits now, at the latest
  MustEnd("the fusion", [&] { sensors.fusion->StopFusion(); });
  Rings last(10);
  for (const Rings& round : sensors.rounds) {
    ASSERT_EQ(round.size(), 10U);
    for (const std::size_t at : {0U, 1U, 3U, 6U}) {  // the first point of each sensor
      EXPECT_GT(round[at], last[at]);
    }
    last = round;
  }
  for (std::size_t i = 0; i < 4; ++i) {
    const auto waiting = sensors.slots[i]->GetEnablePointCloud();
    const std::uint64_t left = waiting.cloud ? waiting.overwritten + 1 : 0;
    EXPECT_EQ(sensors.rounds.size() + overwritten[i] + left, kFrames);
  }
}

TEST(FusionDeathTest, EndsTheProcessWithoutASupplierAndAtASecondStart) {
  GTEST_FLAG_SET(death_test_style, "threadsafe");
  EXPECT_DEATH(
      {
        Sensors sensors(1);
        sensors.supplier = nullptr;
        sensors.Start();
        std::this_thread::sleep_for(test::kDeadline);
      },
      "bad_function_call");
  EXPECT_DEATH(
      {
        Sensors sensors(1);
        sensors.Start();
        sensors.Start();
      },
      "terminate called without an active exception");
}

}  // namespace
}  // namespace orliq::lidar
