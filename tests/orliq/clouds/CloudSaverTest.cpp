// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudSaver.h"

#include <gmock/gmock.h>

#include <ctime>
#include <future>

#include "orliq/clouds/CloudPool.h"
#include "orliq/clouds/CloudWriter.h"
#include "orliq/clouds/McapSink.h"
#include "orliq/mcap/McapReader.h"
#include "orliq/mcap/PacketMessage.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using Cloud = PointCloud<Point>;

TEST(CloudSaver, GivesUpACloudThatFindsTheQueueFullInsteadOfWaiting) {
  const test::TempDir dir;
  CloudSaver saver(std::make_unique<CloudWriter>(dir / "f", "pcd"));
  const auto cloud = std::make_shared<Cloud>();
  std::promise<void> stuck, go;
  // The thread lets go of a cloud once it is written, and then hangs as on a slow disk.
  const auto hang = [&](void*) {
    stuck.set_value();
    go.get_future().wait();
  };
  saver.Save(std::shared_ptr<void>(nullptr, hang), View(*cloud), 0);
  stuck.get_future().wait();
  const int more = static_cast<int>(CloudSaver::kRoom) + 3;
  for (int i = 1; i <= more; ++i) saver.Save(cloud, View(*cloud), i);
  go.set_value();
  saver.Finish();
  EXPECT_EQ(saver.Found().no_room, 3U);
  EXPECT_EQ(saver.Sink().Files(), CloudSaver::kRoom + 1) << "and writes the rest before it ends";
}

/// A place for packets that hangs in the first one, as on a slow disk.
struct SlowSink : CloudSink {
  bool TakesOneCloud() const override { return false; }
  std::filesystem::path Write(const CloudView&, int, int) override {
    ahead_of_cloud = written;
    return {};
  }
  void Write(const KeptPacket& packet) override {
    if (written++ == 0) stuck.set_value(), go.wait();
    last = packet;
    in_order = in_order && packet.sensor == written - 1 && packet.payload.size() == kSize;
  }
  bool TakesPackets() const override { return true; }
  std::uint64_t Files() const override { return 0; }
  std::uint64_t Bytes() const override { return 0; }
  std::string Contents() const override { return {}; }

  static constexpr std::size_t kSize = 1 << 20;
  explicit SlowSink(std::future<void> until) : go(std::move(until)) {}
  std::promise<void> stuck;
  std::future<void> go;
  std::size_t written = 0;
  std::size_t ahead_of_cloud = 0;
  KeptPacket last;
  bool in_order = true;
};

TEST(CloudSaver, KeepsAsManyPacketsAsHaveRoomInTheirOrderAndCountsTheOthers) {
  std::promise<void> go;
  auto sink = std::make_unique<SlowSink>(go.get_future());
  SlowSink& slow = *sink;
  CloudSaver saver(std::move(sink));
  const std::vector<std::uint8_t> bytes(SlowSink::kSize);
  std::size_t sent = 0;
  const auto save = [&] { saver.Save(sent++, {bytes.data(), bytes.size(), 1, {}}); };
  while (sent < 16) save();  // with no cloud that would wake the thread
  slow.stuck.get_future().wait();
  while (saver.Found().packets < 3) save();
  EXPECT_TRUE(saver.Found().Any());
  const auto cloud = std::make_shared<Cloud>();
  saver.Save(cloud, View(*cloud), 0);
  const std::size_t waiting = CloudSaver::kPacketBytes / SlowSink::kSize;
  go.set_value();
  saver.Finish();
  EXPECT_EQ(slow.written + 3, sent);
  EXPECT_GE(slow.written, waiting);
  EXPECT_LE(slow.written, waiting + 16);
  EXPECT_TRUE(slow.in_order) << "and whole";
  EXPECT_EQ(slow.ahead_of_cloud, slow.written);
}

TEST(CloudSaver, TellsWhenEachPacketCameAndFromWhom) {
  const double now = static_cast<double>(std::time(nullptr));
  for (const std::uint64_t arrival : {std::uint64_t{0}, std::uint64_t{2'500'000'000}}) {
    std::promise<void> go;
    go.set_value();
    auto sink = std::make_unique<SlowSink>(go.get_future());
    const SlowSink& slow = *sink;
    CloudSaver saver(std::move(sink));
    const std::uint8_t byte = 1;
    saver.Save(0, {&byte, 1, arrival, {0x7F000001, 6699}});
    saver.Finish();
    EXPECT_NEAR(slow.last.time_s, arrival == 0 ? now : 2.5, arrival == 0 ? 60.0 : 1e-6);
    EXPECT_EQ(slow.last.endpoints.source, (std::array<std::uint8_t, 4>{127, 0, 0, 1}));
    EXPECT_EQ(slow.last.endpoints.source_port, 6699);
  }
}

TEST(McapSink, CountsThePacketsOfAllSensorsAndKeepsWhatTheyCameWith) {
  const test::TempDir dir;
  McapSink sink(dir / "f", {}, {});
  EXPECT_FALSE(sink.TakesPackets());
  sink.SetPacketTopics({{sink.File().AddTopic("/a", kRosPacket), {10, 0, 0, 1}, 11},
                        {sink.File().AddTopic("/b", kRosPacket), {10, 0, 0, 2}, 22}});
  EXPECT_TRUE(sink.TakesPackets());
  for (const std::size_t sensor : {0U, 1U, 1U}) {
    sink.Write(KeptPacket{sensor, 1.5, {{10, 0, 0, 3}, {}, 33, 0}, "any"});
  }
  EXPECT_EQ(sink.PendingPackets(), 3U);
  sink.Finish();
  EXPECT_THAT(sink.Contents(), testing::HasSubstr("3 packets"));
  McapReader reader(dir / "f");
  McapMessage message;
  for (const int port : {11, 22, 22}) {
    ASSERT_TRUE(reader.Next(message));
    EXPECT_EQ(reader.Topic().name, port == 11 ? "/a" : "/b");
    const auto packet = ReadPacketCdr(message.data);
    ASSERT_TRUE(packet);
    EXPECT_EQ(packet->stamp.Nanoseconds(), 1'500'000'000U);
    EXPECT_EQ(packet->source_port, 33);
    EXPECT_EQ(packet->destination[3], port / 11);
    EXPECT_EQ(packet->port, port);
    EXPECT_EQ(packet->data, "any");
  }
}

}  // namespace
}  // namespace orliq::cli
