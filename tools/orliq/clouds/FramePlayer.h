// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <thread>
#include <utility>
#include <vector>

#include "multi_driver/OrliqDriver.h"

namespace orliq::cli {

/// Plays frames of a capture one after the other through the public driver.
///
/// Threads: call it from one thread. Clouds arrive on the driver's thread and are handed on to the
/// caller's; while the caller works on one frame, the driver decodes the next.
/// Failure: Open returns false; afterwards a request only ever waits for the driver.
template <typename Cloud>
class FramePlayer {
 public:
  using Clock = std::chrono::steady_clock;

  struct Frame {
    int entry;  ///< the capture's frame that was asked for
    std::shared_ptr<Cloud> cloud;
    double seconds;  ///< from the request, or from the frame's previous cloud, to this cloud
  };

  /// Initialises and starts the driver.
  bool Open(const lidar::DriverParam& param) {
    driver_.RegisterPointCloudCallBack(
        [this](std::shared_ptr<Cloud> cloud) { Arrive(std::move(cloud)); },
        [this] { return EmptyCloud(); });
    driver_.RegisterExceptionCallBack([this](const lidar::Error& error) {
      const std::lock_guard lock(faults_mutex_);
      ++faults_[error.code];
    });
    return driver_.InitDriver(param) && driver_.Start();
  }

  /// Waits until the capture is indexed and returns its number of frame entries.
  int WaitForIndex() {
    int entries = 0;
    while (!driver_.GetLocalFileStatus(entries)) std::this_thread::sleep_for(kPoll);
    return entries;
  }

  /// Plays the entries `first` to before `last` and hands every cloud to `sink(frame)` in order.
  /// The driver has stopped when it returns.
  template <typename Sink>
  void Play(int first, int last, const Sink& sink) {
    for (int entry = first; entry < last; ++entry) {
      Request(entry);
      HandOn(sink);
      WaitForCloud(entry);
    }
    // The driver takes a further request only once the last frame has ended, and a frame whose
    // mark was lost ends later than its first cloud.
    Request(first, true);
    driver_.Stop();
    HandOn(sink);
  }

  /// Reports of refused packets by error code. The driver makes one in two seconds at most.
  std::map<std::uint32_t, std::uint64_t> Faults() {
    const std::lock_guard lock(faults_mutex_);
    return faults_;
  }

 private:
  static constexpr auto kPoll = std::chrono::microseconds(200);

  /// Asks until the driver is free. The lock spans request and bookkeeping, so that no cloud of the
  /// new frame can arrive before `entry_` names it.
  void Request(int entry, bool discard = false) {
    for (;; std::this_thread::sleep_for(kPoll)) {
      const std::lock_guard lock(mutex_);
      const Clock::time_point now = Clock::now();
      if (!driver_.SetLocalFrame(entry)) continue;
      entry_ = entry;
      discard_ = discard;
      answered_ = false;
      since_ = now;
      return;
    }
  }

  void WaitForCloud(int entry) {
    std::unique_lock lock(mutex_);
    arrival_.wait(lock, [&] { return answered_ && entry_ == entry; });
  }

  void Arrive(std::shared_ptr<Cloud> cloud) {
    usual_points_ = cloud->points.size();
    const std::lock_guard lock(mutex_);
    if (discard_) return;
    const Clock::time_point now = Clock::now();
    const std::chrono::duration<double> seconds = now - since_;
    since_ = now;
    answered_ = true;
    arrived_.push_back({entry_, std::move(cloud), seconds.count()});
    arrival_.notify_one();
  }

  /// Room for as many points as the frame before had.
  std::shared_ptr<Cloud> EmptyCloud() const {
    auto cloud = std::make_shared<Cloud>();
    cloud->points.reserve(usual_points_);
    return cloud;
  }

  template <typename Sink>
  void HandOn(const Sink& sink) {
    std::vector<Frame> frames;
    {
      const std::lock_guard lock(mutex_);
      frames.swap(arrived_);
    }
    for (const Frame& frame : frames) sink(frame);
  }

  std::mutex mutex_;
  std::condition_variable arrival_;
  std::vector<Frame> arrived_;  // guarded by mutex_
  int entry_ = -1;              // guarded by mutex_
  bool answered_ = false;       // guarded by mutex_
  bool discard_ = false;        // guarded by mutex_
  Clock::time_point since_;     // guarded by mutex_
  std::mutex faults_mutex_;
  std::map<std::uint32_t, std::uint64_t> faults_;  // guarded by faults_mutex_
  std::size_t usual_points_ = 0;                   // of the driver's thread once it runs
  OrliqDriver<Cloud> driver_;  // last, so that its thread ends before anything it uses
};

}  // namespace orliq::cli
