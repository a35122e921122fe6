// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <mutex>
#include <utility>

#include "input/Ring.h"

namespace orliq::lidar {

/// FIFO between threads.
///
/// Neither side ever waits: a push always finds room (the queue is unbounded), a pop from an empty
/// queue returns an empty item. Destruction refuses later pushes and releases what is left, each
/// item once. The fields are open to the owning manager, which pops under `mutex`.
template <typename T>
struct SyncQueue {
  SyncQueue() = default;
  SyncQueue(const SyncQueue&) = delete;
  SyncQueue& operator=(const SyncQueue&) = delete;

  ~SyncQueue() { Shut(); }

  /// Appends `item`; the bound has no effect, since no caller may block. False once destruction has
  /// begun: nothing is stored then.
  bool Push(const T& item, unsigned int /*bound*/) { return PushAll(&item, 1); }

  /// Appends `count` items in their order, under one lock.
  bool PushAll(const T* first, std::size_t count) {
    if (stopped) return false;
    {
      const std::lock_guard<std::mutex> lock(mutex);
      std::for_each(first, first + count, [this](const T& item) { items.Push(item); });
      const std::uint64_t now = items.size();
      // Those beyond a limit are given up at once. Before `size`, which nobody is to see larger.
      const std::uint64_t limit = max_size;
      most = std::max(most.load(), limit == 0 ? now : std::min(now, limit));
      size = now;
    }
    not_empty.notify_one();
    return true;
  }

  /// Takes the oldest item; an empty one at once when there is none.
  T Pop() {
    const std::lock_guard<std::mutex> lock(mutex);
    if (items.empty()) return T();
    T item = items.Pop();
    size = items.size();
    if (max_size != 0) not_full.notify_one();
    return item;
  }

  /// What destruction does first: refuses pushes from now on and releases every item.
  void Shut() {
    stopped = true;
    not_empty.notify_all();
    not_full.notify_all();
    Ring<T> left;
    {
      const std::lock_guard<std::mutex> lock(mutex);
      std::swap(left, items);
      size = 0;
      not_full.notify_all();
    }
  }

  std::atomic<std::uint64_t> max_size{0};  // 0: unbounded; a pop signals not_full only when set
  std::atomic<std::uint64_t> size{0};      // written under mutex, may be read without it
  std::atomic<std::uint64_t> most{0};      // likewise; the largest size that ever was
  std::atomic<bool> stopped{false};        // read without the lock at the start of Push
  std::mutex mutex;                        // guards items
  std::condition_variable not_empty;       // signalled once per push, of however many items
  std::condition_variable not_full;        // signalled once per pop of a bounded queue
  Ring<T> items;                           // guarded by mutex
};

}  // namespace orliq::lidar
