// SPDX-License-Identifier: Apache-2.0
#include "common/Worker.h"

#include <pthread.h>

#include <system_error>
#include <utility>

namespace orliq::lidar {

Worker::~Worker() {
  RequestStop();
  DetachIfOwnThread();
  Join();
}

bool Worker::Start(const char* name, std::shared_ptr<void> owner, std::function<void()> body) {
  if (running_) return true;
  if (OnOwnThread()) {
    running_ = true;
    return true;
  }
  Join();
  running_ = true;
  try {
    thread_ = std::thread([this, name, owner = std::move(owner), body = std::move(body)] {
      thread_id_ = std::this_thread::get_id();
      pthread_setname_np(pthread_self(), name);
      body();
      thread_id_ = std::thread::id();
    });
  } catch (const std::system_error&) {
    running_ = false;
  }
  return running_;
}

void Worker::Join() {
  if (!OnOwnThread() && thread_.joinable()) thread_.join();
}

void Worker::DetachIfOwnThread() {
  if (OnOwnThread() && thread_.joinable()) thread_.detach();
}

}  // namespace orliq::lidar
