// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "multi_driver/OrliqDriver.h"
#include "multi_driver/SensorModels.h"
#include "orliq/terminal/Interrupt.h"

namespace orliq::cli {

/// Plays frames of a capture one after the other through the public driver.
///
/// Models whose first packet bounds a frame need care, so that a frame is the same whatever was played
/// before it: their decoders remember the packet before. After indexing that is the last one of the
/// capture, and the first frame comes in two clouds, of which the first holds no more than its first
/// packet: they are joined. After a frame it is the first packet of the next frame, which may stand in
/// the new cloud already though it will be decoded once more: that cloud is emptied.
///
/// Threads: call it from one thread. Clouds arrive on the driver's thread and are handed on to the
/// caller's; while the caller works on one frame, the driver decodes the next. At most kRoom clouds
/// wait in between: then the driver waits for the caller, however many clouds one request gives.
/// Failure: Open returns false; afterwards a request only ever waits for the driver, and Ctrl-C ends
/// every wait.
template <typename Cloud>
class FramePlayer {
 public:
  using Clock = std::chrono::steady_clock;

  struct Frame {
    int entry;  ///< the capture's frame that was asked for
    std::shared_ptr<Cloud> cloud;
    double seconds;  ///< from the request, or from the frame's previous cloud, to this cloud
    std::optional<std::size_t> early_points;  ///< that the driver gave in a cloud ahead of this one
  };

  explicit FramePlayer(lidar::FrameMark mark) : joins_(mark == lidar::FrameMark::First) {}
  ~FramePlayer() { Stop(); }
  FramePlayer(const FramePlayer&) = delete;
  FramePlayer& operator=(const FramePlayer&) = delete;

  /// Initialises and starts the driver; an empty `source` takes every sender.
  bool Open(const lidar::DriverParam& param, const std::string& source) {
    driver_.RegisterPointCloudCallBack(
        [this](std::shared_ptr<Cloud> cloud) { Arrive(std::move(cloud)); },
        [this] { return EmptyCloud(); });
    driver_.RegisterExceptionCallBack([this](const lidar::Error& error) {
      const std::lock_guard lock(faults_mutex_);
      ++faults_[error.code];
    });
    return driver_.SetSourceAddress(source) && driver_.InitDriver(param) && driver_.Start();
  }

  /// Waits until the capture is indexed and returns its number of frame entries; 0 when the user
  /// interrupts it.
  int WaitForIndex() {
    int entries = 0;
    while (!InterruptRequested() && !driver_.GetLocalFileStatus(entries)) {
      std::this_thread::sleep_for(kPoll);
    }
    return entries;
  }

  /// Plays the entries `first` to before `last`, which must be there, and hands every cloud to
  /// `sink(frame)` in order; false when the user interrupted it. The driver has stopped when it
  /// returns.
  template <typename Sink>
  bool Play(int first, int last, const Sink& sink) {
    bool more = true;
    for (int entry = first; more && entry < last; ++entry) {
      more = Request(entry, false, sink);
      HandOn(sink, 0);
      more = more && WaitForCloud();
    }
    // The driver takes a further request only once the last frame has ended, and a frame whose
    // mark was lost ends later than its first cloud.
    more = more && Request(first, true, sink);
    Stop();
    HandOn(sink, 0);
    return more;
  }

  /// Reports of refused packets by error code. The driver makes one in two seconds at most.
  std::map<std::uint32_t, std::uint64_t> Faults() {
    const std::lock_guard lock(faults_mutex_);
    return faults_;
  }

 private:
  static constexpr std::size_t kRoom = 4;  // [clouds]
  static constexpr auto kPoll = std::chrono::microseconds(200);
  static constexpr auto kInterruptPoll = std::chrono::milliseconds(50);

  /// Asks until the driver is free; false when the user interrupts it. The lock spans request and
  /// bookkeeping, so that no cloud of the new frame can arrive before `entry_` names it. A cloud
  /// that waits alone stays, to be worked on while the driver decodes the new frame.
  template <typename Sink>
  bool Request(int entry, bool discard, const Sink& sink) {
    for (; !InterruptRequested(); std::this_thread::sleep_for(kPoll)) {
      HandOn(sink, 1);
      const std::lock_guard lock(mutex_);
      const Clock::time_point now = Clock::now();
      if (driver_.IsLocalFramePlaying()) continue;
      if (joins_) FinishFrame();
      if (!driver_.SetLocalFrame(entry)) continue;
      entry_ = entry;
      discard_ = discard;
      answered_ = false;
      since_ = now;
      return true;
    }
    return false;
  }

  /// The driver is idle: its clouds of the last frame are complete, and the one to be filled next is
  /// left alone. With mutex_ held.
  void FinishFrame() {
    if (filling_) filling_->points.clear();
    if (joined_.cloud) arrived_.push_back(std::exchange(joined_, {}));
  }

  /// Until the frame that was requested last gave a cloud; false when the user interrupts it.
  bool WaitForCloud() {
    std::unique_lock lock(mutex_);
    while (!answered_ && !InterruptRequested()) arrival_.wait_for(lock, kInterruptPoll);
    return answered_;
  }

  void Stop() {
    {
      const std::lock_guard lock(mutex_);
      discard_ = true;
    }
    room_.notify_all();
    driver_.Stop();
  }

  void Arrive(std::shared_ptr<Cloud> cloud) {
    usual_points_ = cloud->points.size();
    std::unique_lock lock(mutex_);
    const std::chrono::duration<double> seconds = Clock::now() - since_;
    room_.wait(lock, [this] { return discard_ || arrived_.size() < kRoom; });
    if (discard_) return;
    since_ = Clock::now();
    answered_ = true;
    Frame frame = {entry_, std::move(cloud), seconds.count(), std::nullopt};
    if (joins_) {
      Join(std::move(frame));
    } else {
      arrived_.push_back(std::move(frame));
    }
    arrival_.notify_one();
  }

  /// Puts an earlier cloud of the same request in front. With mutex_ held.
  void Join(Frame frame) {
    if (joined_.cloud) {
      auto& points = frame.cloud->points;
      const auto& early = joined_.cloud->points;
      points.insert(points.begin(), early.begin(), early.end());
      frame.early_points = early.size();
      frame.seconds += joined_.seconds;
    }
    joined_ = std::move(frame);
  }

  /// Room for as many points as the frame before had.
  std::shared_ptr<Cloud> EmptyCloud() {
    auto cloud = std::make_shared<Cloud>();
    cloud->points.reserve(usual_points_);
    const std::lock_guard lock(mutex_);
    if (joins_) filling_ = cloud;
    return cloud;
  }

  /// Hands on what waits, if it is more than `patience` clouds.
  template <typename Sink>
  void HandOn(const Sink& sink, std::size_t patience) {
    std::vector<Frame> frames;
    {
      const std::lock_guard lock(mutex_);
      if (arrived_.size() > patience) frames.swap(arrived_);
    }
    room_.notify_one();
    for (const Frame& frame : frames) sink(frame);
  }

  const bool joins_;  // one frame for all the clouds of a request
  std::mutex mutex_;
  std::condition_variable arrival_;
  std::condition_variable room_;
  std::vector<Frame> arrived_;      // guarded by mutex_
  Frame joined_ = {};               // of the request that plays; guarded by mutex_
  std::shared_ptr<Cloud> filling_;  // the driver's, while joins_; guarded by mutex_
  int entry_ = -1;                  // guarded by mutex_
  bool answered_ = false;           // guarded by mutex_
  bool discard_ = false;            // guarded by mutex_
  Clock::time_point since_;         // guarded by mutex_
  std::mutex faults_mutex_;
  std::map<std::uint32_t, std::uint64_t> faults_;  // guarded by faults_mutex_
  std::size_t usual_points_ = 0;                   // of the driver's thread once it runs
  OrliqDriver<Cloud> driver_;  // last, so that its thread ends before anything it uses
};

}  // namespace orliq::cli
