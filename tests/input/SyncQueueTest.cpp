// SPDX-License-Identifier: Apache-2.0
#include "input/SyncQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "input/Buffer.h"

namespace orliq::lidar {
namespace {

using Queue = SyncQueue<std::shared_ptr<Buffer>>;

TEST(SyncQueueTest, HandsBuffersOverInOrderAndNeverWaits) {
  Queue queue;
  EXPECT_EQ(queue.Pop(), nullptr);
  const auto first = std::make_shared<Buffer>();
  const auto second = std::make_shared<Buffer>(10);
  EXPECT_TRUE(queue.Push(first, 1));
  EXPECT_TRUE(queue.Push(second, 1)) << "the bound has no effect";
  EXPECT_EQ(queue.size, 2U);
  EXPECT_EQ(queue.Pop(), first);
  EXPECT_EQ(queue.Pop(), second);
  EXPECT_EQ(queue.size, 0U);
  EXPECT_EQ(first->capacity, 1546U);
  EXPECT_EQ(second->capacity, 10U);
}

TEST(SyncQueueTest, DestructionReleasesEachBufferOnceAndRefusesPushes) {
  const auto kept = std::make_shared<Buffer>();
  {
    Queue queue;
    for (int i = 0; i < 3; ++i) queue.Push(kept, 0);
    EXPECT_EQ(kept.use_count(), 4);
    queue.Shut();
    EXPECT_EQ(kept.use_count(), 1);
    EXPECT_FALSE(queue.Push(kept, 0));
    EXPECT_EQ(kept.use_count(), 1);
  }
  EXPECT_EQ(kept.use_count(), 1);
}

TEST(SyncQueueTest, TwoThreadsLoseAndReorderNothing) {
  constexpr std::uint64_t kCount = 20000;
  Queue queue;
  std::thread producer([&queue] {
    for (std::uint64_t i = 0; i < kCount; ++i) {
      const auto buffer = std::make_shared<Buffer>(1);
      buffer->length = i;
      queue.Push(buffer, 0);
    }
  });
  for (std::uint64_t expected = 0; expected < kCount;) {
    const auto buffer = queue.Pop();
    if (!buffer) continue;
    ASSERT_EQ(buffer->length, expected++);
  }
  producer.join();
}

}  // namespace
}  // namespace orliq::lidar
