// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudSaver.h"

#include <gtest/gtest.h>

#include <future>

#include "orliq/clouds/CloudPool.h"
#include "orliq/clouds/CloudWriter.h"
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
  std::filesystem::path Write(const CloudView&, int, int) override { return {}; }
  void Write(const KeptPacket& packet) override {
    if (written++ == 0) stuck.set_value(), go.wait();
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
  const std::size_t waiting = CloudSaver::kPacketBytes / SlowSink::kSize;
  go.set_value();
  saver.Finish();
  EXPECT_EQ(slow.written + 3, sent);
  EXPECT_GE(slow.written, waiting);
  EXPECT_LE(slow.written, waiting + 16);
  EXPECT_TRUE(slow.in_order) << "and whole";
}

}  // namespace
}  // namespace orliq::cli
