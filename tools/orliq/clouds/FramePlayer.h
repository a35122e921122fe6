// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
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
#include "orliq/clouds/StatisticsSince.h"
#include "orliq/terminal/Interrupt.h"

namespace orliq::cli {

/// Plays frames of a capture one after the other through the public driver.
///
/// The decoders that compare a packet with the one before need care, so that a frame is the same
/// whatever was played before it. After indexing they know the last packet of the capture, by which a
/// frame may end in its first packets or swallow the next one. So another entry is played ahead, for
/// nothing, and leaves the first packet of the entry behind it. That packet may stand in the new cloud
/// already though it will be decoded once more: the cloud is emptied. Where no entry ahead ends at a
/// mark, as in a capture without one, the first frame may come in two clouds: they are joined.
///
/// Threads: call it from one thread. Clouds arrive on the driver's thread and are handed on to the
/// caller's; while the caller works on one frame, the driver decodes the next. At most kRoom clouds
/// wait in between: then the driver waits for the caller, however many clouds one request gives.
/// Failure: Open returns false; afterwards a request only ever waits for the driver, and Ctrl-C or
/// Abandon, which may come from any thread, ends every wait.
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

  explicit FramePlayer(const lidar::SensorModel& model)
      : remembers_(model.decodes_points && model.frame_mark == lidar::FrameMark::First) {}
  ~FramePlayer() { Stop(); }
  FramePlayer(const FramePlayer&) = delete;
  FramePlayer& operator=(const FramePlayer&) = delete;

  /// Lets WaitForIndex and Play end as an interrupt does; from any thread.
  void Abandon() { abandoned_ = true; }
  bool Ended() const { return abandoned_ || InterruptRequested(); }

  /// Initialises and starts the driver; an empty `source` takes every sender.
  bool Open(const lidar::DriverParam& param, const std::string& source) {
    driver_.RegisterPointCloudCallBack(
        [this](std::shared_ptr<Cloud> cloud) { Arrive(std::move(cloud)); },
        [this] { return EmptyCloud(); });
    driver_.RegisterExceptionCallBack([this](const lidar::Error& error) {
      const std::lock_guard lock(mutex_);
      if (!discard_) ++faults_[error.code];
    });
    return driver_.SetSourceAddress(source) && driver_.InitDriver(param) && driver_.Start();
  }

  /// Waits until the capture is indexed and returns its number of frame entries; 0 when it is
  /// interrupted.
  int WaitForIndex() {
    int entries = 0;
    while (!Ended() && !driver_.GetLocalFileStatus(entries)) {
      std::this_thread::sleep_for(kPoll);
    }
    return entries;
  }

  /// Plays the entries `first` to before `last`, which must be there, and hands every cloud to
  /// `sink(frame)` in order; false when it was interrupted. A decoder that remembers plays `ahead`
  /// before, and nobody sees it, unless `first` follows what was played last. May be called again.
  template <typename Sink>
  bool PlayRange(int ahead, int first, int last, const Sink& sink) {
    const bool follows = std::exchange(follower_, last) == first;
    bool more = !remembers_ || follows || Request(ahead, true, sink);
    for (int entry = first; more && entry < last; ++entry) {
      more = Request(entry, false, sink);
      HandOn(sink, 0);
      more = more && WaitForCloud();
    }
    // A frame whose mark was lost ends later than its first cloud.
    more = more && Wait(sink, [this] { return Finish(); });
    if (more) HandOn(sink, 0);
    return more;
  }

  /// Likewise for the last time: the driver has stopped when it returns.
  template <typename Sink>
  bool Play(int ahead, int first, int last, const Sink& sink) {
    const bool more = PlayRange(ahead, first, last, sink);
    Stop();
    HandOn(sink, 0);
    return more;
  }

  /// What the driver made of the capture so far, without what it played ahead of the first frame.
  lidar::DriverStatistics Statistics() const {
    lidar::DriverStatistics statistics;
    driver_.GetStatistics(statistics);
    return Since(before_, statistics);
  }

  /// Reports of refused packets by error code, while indexing and of what was handed on. The driver
  /// makes one in two seconds at most.
  std::map<std::uint32_t, std::uint64_t> Faults() {
    const std::lock_guard lock(mutex_);
    return faults_;
  }

 private:
  static constexpr std::size_t kRoom = 4;  // [clouds]
  static constexpr auto kPoll = std::chrono::microseconds(200);
  static constexpr auto kInterruptPoll = std::chrono::milliseconds(50);

  /// Asks with mutex_ held until the answer is yes; false when it is interrupted. A cloud that
  /// waits alone stays, to be worked on while the driver decodes the next frame.
  template <typename Sink, typename Ask>
  bool Wait(const Sink& sink, const Ask& ask) {
    for (; !Ended(); std::this_thread::sleep_for(kPoll)) {
      HandOn(sink, 1);
      const std::lock_guard lock(mutex_);
      if (ask()) return true;
    }
    return false;
  }

  /// Requests an entry once the driver is free; false when it is interrupted. The lock spans
  /// request and bookkeeping, so that no cloud of the new frame can arrive before `entry_` names it.
  template <typename Sink>
  bool Request(int entry, bool discard, const Sink& sink) {
    return Wait(sink, [=] {
      const Clock::time_point now = Clock::now();
      if (!Finish()) return false;
      if (!began_ && !discard) began_ = driver_.GetStatistics(before_);
      if (!driver_.SetLocalFrame(entry)) return false;
      entry_ = entry;
      discard_ = discard;
      answered_ = false;
      since_ = now;
      return true;
    });
  }

  /// False while the driver plays. Afterwards its clouds of the last frame are complete, and the one
  /// to be filled next is left alone. With mutex_ held.
  bool Finish() {
    if (driver_.IsLocalFramePlaying()) return false;
    if (filling_) filling_->points.clear();
    if (joined_.cloud) arrived_.push_back(std::exchange(joined_, {}));
    return true;
  }

  /// Until the frame that was requested last gave a cloud; false when it is interrupted.
  bool WaitForCloud() {
    std::unique_lock lock(mutex_);
    while (!answered_ && !Ended()) arrival_.wait_for(lock, kInterruptPoll);
    return answered_;
  }

  void Stop() {
    {
      const std::lock_guard lock(mutex_);
      Finish();  // of an interrupted playback a whole frame may be left
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
    if (remembers_) {
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
    if (remembers_) filling_ = cloud;
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

  std::atomic<bool> abandoned_{false};
  const bool remembers_;  // the decoder, the packet before: one frame for all clouds of a request
  std::mutex mutex_;
  std::condition_variable arrival_;
  std::condition_variable room_;
  std::vector<Frame> arrived_;      // guarded by mutex_
  Frame joined_ = {};               // of the request that plays; guarded by mutex_
  std::shared_ptr<Cloud> filling_;  // the driver's, if it remembers_; guarded by mutex_
  int entry_ = -1;                  // guarded by mutex_
  bool answered_ = false;           // guarded by mutex_
  bool discard_ = false;            // guarded by mutex_
  Clock::time_point since_;         // guarded by mutex_
  std::map<std::uint32_t, std::uint64_t> faults_;  // guarded by mutex_
  bool began_ = false;              // nothing is played ahead any more; of the caller's thread
  lidar::DriverStatistics before_;  // by then; likewise
  int follower_ = -1;               // the entry behind the last one played; likewise
  std::size_t usual_points_ = 0;    // of the driver's thread once it runs
  OrliqDriver<Cloud> driver_;       // last, so that its thread ends before anything it uses
};

}  // namespace orliq::cli
