// SPDX-License-Identifier: Apache-2.0
#include "input/SyncQueue.h"

#include <gtest/gtest.h>

#include <memory>

#include "input/Buffer.h"

namespace orliq::lidar {
namespace {

using Queue = SyncQueue<std::shared_ptr<Buffer>>;

TEST(SyncQueueTest, DestructionReleasesEachBufferOnceAndRefusesPushes) {
  const auto kept = std::make_shared<Buffer>();
  {
    Queue queue;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(queue.Push(kept, 1)) << "the bound has no effect";
    EXPECT_EQ(queue.size, 3U);
    EXPECT_EQ(kept.use_count(), 4);
    EXPECT_EQ(queue.Pop(), kept);
    EXPECT_EQ(kept.use_count(), 3) << "taken out for good";
    queue.Shut();
    EXPECT_FALSE(queue.Push(kept, 0));
    EXPECT_EQ(kept.use_count(), 1);
  }
  EXPECT_EQ(kept.use_count(), 1);
}

}  // namespace
}  // namespace orliq::lidar
