// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace orliq::lidar {

/// A named thread that an application may stop, restart or abandon from inside its own callbacks.
///
/// Threads: Start, RequestStop, Join and destruction belong to the application's one thread or to
/// the worker itself, and both may stop and join it at the same time; Running() may be read from
/// anywhere.
/// Ownership: the thread shares ownership of the object that its body works on, so that object
/// outlives a body whose manager was destroyed by one of the body's own callbacks.
class Worker {
 public:
  Worker() = default;
  ~Worker();
  Worker(const Worker&) = delete;
  Worker& operator=(const Worker&) = delete;

  /// Starts `body` on a thread called `name` (at most 15 characters); `owner` is kept alive until
  /// the body has returned. The body must return soon after Running() turns false. True at once
  /// when it runs already; called by the body itself after a stop, the body simply goes on. False
  /// when the system has no thread or no memory left.
  bool Start(std::string name, std::shared_ptr<void> owner, std::function<void()> body);

  /// Asks the body to return; does not wait.
  void RequestStop() { running_ = false; }

  /// Waits for the body to return. Called by the body itself it returns at once: the thread is
  /// joined later, or let go by the destructor.
  void Join();

  /// Lets a body go that destroys its own manager: it ends by itself, with nobody to join it.
  void DetachIfOwnThread();

  bool Running() const { return running_; }
  bool OnOwnThread() const { return thread_id_ == std::this_thread::get_id(); }

 private:
  std::atomic<bool> running_{false};
  std::atomic<std::thread::id> thread_id_{std::thread::id()};
  std::mutex starting_;  // held until thread_ names the new thread
  std::mutex joining_;   // held by the one who joins it
  std::thread thread_;   // the application's, or the worker's once its owner has left
};

}  // namespace orliq::lidar
