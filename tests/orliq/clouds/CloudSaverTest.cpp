// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/CloudSaver.h"

#include <gtest/gtest.h>

#include <future>

#include "orliq/clouds/CloudPool.h"
#include "orliq/clouds/PointSpread.h"
#include "orliq/verbs/LiveTally.h"
#include "support/TempDir.h"

namespace orliq::cli {
namespace {

using Cloud = PointCloud<Point>;

TEST(CloudSaver, GivesUpACloudThatFindsTheQueueFullInsteadOfWaiting) {
  const test::TempDir dir;
  CloudSaver saver((dir / "f").string(), "pcd");
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
  EXPECT_EQ(saver.Writer().Files(), CloudSaver::kRoom + 1) << "and writes the rest before it ends";
}

TEST(CloudSaver, GoesOnAfterACloudThatCannotBeWritten) {
  const test::TempDir dir;
  CloudSaver saver((dir / "f").string(), "pcd");
  std::filesystem::create_directories(dir / "f/frame_000001.pcd/in_the_way");
  const auto cloud = std::make_shared<Cloud>();
  for (int i = 0; i < 3; ++i) saver.Save(cloud, View(*cloud), i);
  saver.Finish();
  EXPECT_EQ(saver.Found().faults, 1U);
  EXPECT_NE(saver.Found().first_fault.find("frame_000001.pcd"), std::string::npos);
  EXPECT_EQ(saver.Writer().Files(), 2U);
  LiveCounts counts;
  counts.not_written = {2, saver.Found().faults, ""};
  EXPECT_NE(LiveStatusText({}, counts, 1.0).find(" unwritten:3 "), std::string::npos);
}

TEST(PointSpread, IsExactForFramesInAnyOrder) {
  PointSpread spread;
  EXPECT_EQ(spread.Min() + spread.Median() + spread.Max(), 0U);
  for (const std::uint64_t points : {7, 9, 7, 3, 8}) spread.Add(points);
  EXPECT_EQ(spread.Min(), 3U);
  EXPECT_EQ(spread.Median(), 7U);
  EXPECT_EQ(spread.Max(), 9U);
  spread.Add(8);
  EXPECT_EQ(spread.Median(), 8U) << "3 7 7 8 8 9: the larger one of the middle";
}

}  // namespace
}  // namespace orliq::cli
