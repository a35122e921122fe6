// SPDX-License-Identifier: Apache-2.0
#include "input/SyncQueue.h"

#include <gtest/gtest.h>

#include <memory>
#include <thread>

#include "input/Buffer.h"
#include "support/Patience.h"

namespace orliq::lidar {
namespace {

TEST(SyncQueueTest, DestructionReleasesEachBufferOnceAndRefusesPushes) {
  const auto kept = std::make_shared<Buffer>();
  {
    SyncQueue<std::shared_ptr<Buffer>> queue;
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(queue.Push(kept, 1)) << "the bound has no effect";
    EXPECT_EQ(queue.size, 3U);
    EXPECT_EQ(kept.use_count(), 4);
    EXPECT_EQ(queue.Pop(), kept);
    EXPECT_EQ(kept.use_count(), 3) << "taken out for good";
    queue.Pop();
    queue.Push(kept, 1);
    EXPECT_EQ(queue.most, 3U) << "that ever waited";
    queue.Shut();
    EXPECT_FALSE(queue.Push(kept, 0));
    EXPECT_EQ(kept.use_count(), 1);
  }
  EXPECT_EQ(kept.use_count(), 1);
}

TEST(SyncQueueTest, TwoThreadsPassEveryItemOnInOrder) {
  SyncQueue<int> queue;
  constexpr int kItems = 20000;
  std::thread filler([&queue] {
    for (int i = 1; i <= kItems; ++i) queue.Push(i, 0);
  });
  int last = 0;
  EXPECT_TRUE(test::Eventually([&] {
    const int item = queue.Pop();  // 0: none
    if (item != 0 && item != std::exchange(last, item) + 1) ADD_FAILURE() << item;
    return last == kItems;
  }));
  filler.join();
}

TEST(SyncQueueTest, OnePushWakesOneThatWaits) {
  SyncQueue<int> queue;
  std::unique_lock<std::mutex> lock(queue.mutex);
  std::thread filler([&queue] { queue.Push(1, 0); });  // as soon as the wait gives up the lock
  EXPECT_EQ(queue.not_empty.wait_for(lock, test::kDeadline), std::cv_status::no_timeout);
  lock.unlock();
  filler.join();
}

TEST(SyncQueueTest, RoomIsKeptForASteadyFlowAndGivenBackAfterAStall) {
  static std::size_t slots = 0;
  struct Item {
    Item() { ++slots; }
    Item(const Item&) { ++slots; }
    Item& operator=(const Item&) = default;
    ~Item() { --slots; }
  };
  for (const auto& [most, kept] : {std::pair(16384U, 16384U), std::pair(16385U, 0U)}) {
    Ring<Item> ring;
    for (std::size_t i = 0; i < most; ++i) ring.Push(Item());
    while (!ring.empty()) ring.Pop();
    EXPECT_EQ(slots, kept);
  }
}

}  // namespace
}  // namespace orliq::lidar
