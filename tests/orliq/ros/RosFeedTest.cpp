// SPDX-License-Identifier: Apache-2.0
#include "orliq/ros/RosFeed.h"

#include <gmock/gmock.h>

#include <future>

#include "support/Patience.h"

namespace orliq::cli {
namespace {

using testing::ElementsAre;

/// Keeps what is published; the first cloud waits to be let go.
class KeepingOutlet : public RosOutlet {
 public:
  struct Message {
    std::string topic;
    RosTime stamp;
    std::string cdr;
  };

  std::size_t AddTopic(const RosTopic& topic) override {
    topics.push_back(topic);
    return topics.size() - 1;
  }
  void Publish(std::size_t topic, const RosTime& stamp,
               std::shared_ptr<const std::string> cdr) override {
    if (topics[topic].type == &kRosPointCloud2 && !begun_) {
      begun_ = true;
      begun.set_value();
      go_on.get_future().wait();
    }
    const std::lock_guard lock(mutex_);
    messages.push_back({topics[topic].name, stamp, *cdr});
  }

  std::vector<RosTopic> topics;
  std::vector<Message> messages;  // to be looked at when the feed has ended
  std::promise<void> begun, go_on;

 private:
  bool begun_ = false;
  std::mutex mutex_;
};

TakenCloud CloudOf(double time) {
  auto cloud = std::make_shared<PointCloud<Point>>();
  cloud->points.resize(1);
  cloud->timestamp = time;
  return {cloud, View(*cloud), {}};
}

std::vector<std::string> Names(const KeepingOutlet& outlet) {
  std::vector<std::string> names;
  for (const auto& message : outlet.messages) {
    names.push_back(message.topic + ' ' + std::to_string(message.stamp.seconds));
  }
  return names;
}

TEST(RosFeed, ASlowOutletCostsTheOldestCloudsAndNoSample) {
  KeepingOutlet outlet;
  {
    RosFeed feed({{"front", "front", {}, 0, 0, true}, {"rear", "rear"}}, RosStamp::kPackets,
                 {&outlet});
    feed.Of(0).Take(CloudOf(1.0));
    outlet.begun.get_future().wait();
    for (const double time : {2.0, 3.0, 4.0, 5.0, 6.0, 7.0}) feed.Of(0).Take(CloudOf(time));
    feed.Of(1).Take(CloudOf(2.5));
    lidar::ImuMsg sample;
    for (sample.timestamp = 6.0; sample.timestamp < 9.0; sample.timestamp += 1.0) {
      feed.Of(0).Take(sample);
      feed.Of(1).Take(sample);  // which has none
    }
    EXPECT_EQ(feed.Read(0).clouds_left_out, 1);
    EXPECT_EQ(feed.Read(1).clouds_left_out, 0);
    outlet.go_on.set_value();
  }
  EXPECT_THAT(Names(outlet),
              ElementsAre("/front/points 1", "/rear/points 2", "/front/imu 6", "/front/imu 7",
                          "/front/imu 8", "/front/points 3", "/front/points 4", "/front/points 5",
                          "/front/points 6", "/front/points 7"));
}

TEST(RosFeed, AThousandSamplesWaitAndTheOldestGoFirst) {
  KeepingOutlet outlet;
  RosFeed feed({{"front", "front", {}, 0, 0, true}}, RosStamp::kPackets, {&outlet});
  feed.Of(0).Take(CloudOf(1.0));
  outlet.begun.get_future().wait();
  lidar::ImuMsg sample;
  for (sample.timestamp = 1.0; sample.timestamp < 1004.0; sample.timestamp += 1.0) {
    feed.Of(0).Take(sample);
  }
  EXPECT_EQ(feed.Read(0).samples_left_out, 3);
  outlet.go_on.set_value();
  ASSERT_TRUE(test::Eventually([&] { return feed.Read(0).clouds > 0; }));
  feed.Finish();
  EXPECT_EQ(feed.Read(0).samples, 1000);
  ASSERT_EQ(outlet.messages.size(), 1001);
  EXPECT_EQ(outlet.messages[1].stamp.seconds, 4);
}

TEST(RosFeed, EveryOutletGetsAllAndStampsAreAsWanted) {
  KeepingOutlet outlets[2];
  for (KeepingOutlet& outlet : outlets) outlet.go_on.set_value();
  const RosTime before = RosTimeNow();
  {
    RosFeed feed({{"one", "base"}}, RosStamp::kPackets, {&outlets[0], &outlets[1]});
    feed.Tell(std::vector<RosTransform>{{{{}, "base"}, "one", {}}});
    feed.Tell(std::vector<RosStatus>{{RosLevel::kOk, "a", "b", "c", {}}});
    feed.Of(0).Take(CloudOf(0.0));  // of a model without time
  }
  {
    RosFeed feed({{"one", "base"}}, RosStamp::kHost, {&outlets[1]});
    feed.Of(0).Take(CloudOf(7.0));
  }
  ASSERT_EQ(outlets[0].messages.size(), 3);
  ASSERT_EQ(outlets[1].messages.size(), 4);
  EXPECT_EQ(outlets[0].topics[0].name, "/tf_static");
  EXPECT_TRUE(outlets[0].topics[0].latched);
  EXPECT_FALSE(outlets[0].topics[1].latched);
  for (std::size_t i = 0; i < 3; ++i) {
    EXPECT_EQ(outlets[0].messages[i].cdr, outlets[1].messages[i].cdr);
  }
  EXPECT_GE(outlets[1].messages[2].stamp.Nanoseconds(), before.Nanoseconds());
  EXPECT_GE(outlets[1].messages[3].stamp.Nanoseconds(), before.Nanoseconds());
}

}  // namespace
}  // namespace orliq::cli
