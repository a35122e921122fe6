// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <mutex>
#include <utility>

namespace orliq::lidar {

/// Lets one thread sleep until another has something for it. A signal that comes while nobody waits
/// is kept for the next wait, so none is lost between a look and the wait that follows.
class Wakeup {
 public:
  void Signal() {
    {
      const std::lock_guard<std::mutex> lock(mutex_);
      signalled_ = true;
    }
    waiting_.notify_one();
  }

  void Wait() {
    std::unique_lock<std::mutex> lock(mutex_);
    waiting_.wait(lock, [this] { return signalled_; });
    signalled_ = false;
  }

  /// Waits so long at most; whether there was a signal.
  bool WaitFor(std::chrono::milliseconds time) {
    std::unique_lock<std::mutex> lock(mutex_);
    waiting_.wait_for(lock, time, [this] { return signalled_; });
    return std::exchange(signalled_, false);
  }

 private:
  std::mutex mutex_;
  std::condition_variable waiting_;
  bool signalled_ = false;  // guarded by mutex_
};

}  // namespace orliq::lidar
