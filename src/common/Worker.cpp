// SPDX-License-Identifier: Apache-2.0
#include "common/Worker.h"

#include <pthread.h>

#include <utility>

namespace orliq::lidar {

Worker::~Worker() {
  RequestStop();
  DetachIfOwnThread();
  Join();
}

bool Worker::Start(std::string name, std::shared_ptr<void> owner, std::function<void()> body) {
  if (running_) return true;
  if (OnOwnThread()) {
    running_ = true;
    return true;
  }
  Join();
  running_ = true;
  try {
    const std::lock_guard<std::mutex> not_yet(starting_);
    thread_ = std::thread(
        [this, name = std::move(name), owner = std::move(owner), body = std::move(body)] {
          // The body's callbacks may end this very object: not before Start has stored the thread.
          { const std::lock_guard<std::mutex> stored(starting_); }
          thread_id_ = std::this_thread::get_id();
          pthread_setname_np(pthread_self(), name.c_str());
          body();
          thread_id_ = std::thread::id();
        });
  } catch (...) {  // no thread or no memory left
    running_ = false;
    return false;
  }
  return true;
}

void Worker::Join() {
  if (OnOwnThread()) return;
  const std::lock_guard<std::mutex> one_at_a_time(joining_);
  if (thread_.joinable()) thread_.join();
}

void Worker::DetachIfOwnThread() {
  if (OnOwnThread() && thread_.joinable()) thread_.detach();
}

}  // namespace orliq::lidar
