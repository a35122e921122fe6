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

}  // namespace
}  // namespace orliq::cli
