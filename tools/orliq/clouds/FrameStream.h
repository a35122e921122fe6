// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <pthread.h>

#include <algorithm>
#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "orliq/clouds/FramePlayer.h"
#include "orliq/sensors/Models.h"
#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

/// Which frames of which capture are played.
struct FramesWanted {
  std::string name;  ///< of the sensor, for faults
  const Model* model = nullptr;
  lidar::DriverParam param;
  std::string source;        ///< the only sender that counts; empty: any
  int ahead = 0;             ///< what is played before, as FramePlayer needs it
  std::vector<int> entries;  ///< of the capture, in rising order; at least one
};

/// Frames of a capture as FramePlayer gives them, one for each entry: the clouds of a frame whose mark
/// was lost are joined.
///
/// Threads: a thread of its own plays, kAhead frames ahead of who takes them; all methods belong to
/// one other thread.
/// Failure: what goes wrong while it plays comes out of Next as Failure. An interrupt ends the stream.
template <typename Cloud>
class FrameStream {
 public:
  static constexpr std::size_t kAhead = 2;    // [frames]
  static constexpr int kCloudsOfAFrame = 16;  // more are no frame: they would fill the memory

  struct Frame {
    int entry = 0;
    std::shared_ptr<Cloud> cloud;
  };

  explicit FrameStream(FramesWanted wanted)
      : wanted_(std::move(wanted)), player_(*wanted_.model), thread_([this] { Run(); }) {}

  ~FrameStream() {
    Abandon();
    thread_.join();
  }
  FrameStream(const FrameStream&) = delete;
  FrameStream& operator=(const FrameStream&) = delete;

  /// Waits for the next frame; none behind the last one, and after an interrupt.
  std::optional<Frame> Next() {
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return over_ || !ready_.empty(); });
    if (ready_.empty()) {
      if (fault_) std::rethrow_exception(fault_);
      return std::nullopt;
    }
    Frame frame = std::move(ready_.front());
    ready_.pop_front();
    changed_.notify_all();
    return frame;
  }

  /// What the driver made of the capture for the frames that were played. Lets the thread end, and
  /// waits for it: nobody takes another frame.
  lidar::DriverStatistics Statistics() {
    Abandon();
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return over_; });
    return player_.Statistics();
  }

  /// Lets the thread end soon, without waiting for it: nobody takes another frame.
  void Abandon() {
    player_.Abandon();
    const std::lock_guard lock(mutex_);
    abandoned_ = true;
    changed_.notify_all();
  }

 private:
  void Run() {
    ::pthread_setname_np(::pthread_self(), "orliq-frames");
    std::exception_ptr fault;
    try {
      PlayAll();
    } catch (...) {
      fault = std::current_exception();
    }
    const std::lock_guard lock(mutex_);
    fault_ = fault;
    over_ = true;
    changed_.notify_all();
  }

  void PlayAll() {
    const std::string& capture = wanted_.param.input_param.pcap_file;
    const int last = wanted_.entries.back() + 1;
    if (!player_.Open(wanted_.param, wanted_.source)) Fail("the driver cannot open " + capture);
    const int found = player_.WaitForIndex();
    if (found == 0 && player_.Ended()) return;
    if (found < last) Fail(capture + " has changed: the driver finds fewer frames than before");
    const auto take = [this](const typename FramePlayer<Cloud>::Frame& frame) { Take(frame); };
    if (player_.Play(wanted_.ahead, wanted_.entries.front(), last, take)) Deliver();
  }

  void Take(const typename FramePlayer<Cloud>::Frame& frame) {
    if (!std::binary_search(wanted_.entries.begin(), wanted_.entries.end(), frame.entry)) return;
    if (joined_.cloud && joined_.entry == frame.entry) return Join(*frame.cloud);
    Deliver();
    joined_ = {frame.entry, frame.cloud};
    clouds_ = 1;
  }

  /// The time of a frame is that of its first cloud.
  void Join(const Cloud& further) {
    if (++clouds_ > kCloudsOfAFrame) {
      Fail("frame " + std::to_string(joined_.entry) + " has no end: its marks are lost");
    }
    auto& points = joined_.cloud->points;
    points.insert(points.end(), further.points.begin(), further.points.end());
  }

  /// Hands over the frame that is complete.
  void Deliver() {
    if (!joined_.cloud) return;
    std::unique_lock lock(mutex_);
    changed_.wait(lock, [this] { return abandoned_ || ready_.size() < kAhead; });
    ready_.push_back(std::exchange(joined_, {}));
    changed_.notify_all();
  }

  [[noreturn]] void Fail(const std::string& what) const {
    throw Failure(ExitCode::kFileFault, wanted_.name + ": " + what);
  }

  const FramesWanted wanted_;
  FramePlayer<Cloud> player_;  // of the thread, but for Abandon
  Frame joined_;               // complete when a cloud of another frame comes; of the thread
  int clouds_ = 0;             // in it
  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Frame> ready_;   // guarded by mutex_
  std::exception_ptr fault_;  // guarded by mutex_
  bool over_ = false;         // nothing comes any more; guarded by mutex_
  bool abandoned_ = false;    // guarded by mutex_
  std::thread thread_;        // last: it uses everything above
};

}  // namespace orliq::cli
