// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <condition_variable>
#include <cstddef>
#include <deque>
#include <exception>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <vector>

#include "orliq/clouds/FramePlayer.h"
#include "orliq/sensors/Models.h"

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

  explicit FrameStream(FramesWanted wanted);

  ~FrameStream();
  FrameStream(const FrameStream&) = delete;
  FrameStream& operator=(const FrameStream&) = delete;

  /// Waits for the next frame; none behind the last one, and after an interrupt.
  std::optional<Frame> Next();

  /// What the driver made of the capture for the frames that were played. Lets the thread end, and
  /// waits for it: nobody takes another frame.
  lidar::DriverStatistics Statistics();

  /// Lets the thread end soon, without waiting for it: nobody takes another frame.
  void Abandon();

 private:
  void Run();
  void PlayAll();
  void Take(const typename FramePlayer<Cloud>::Frame& frame);

  /// The time of a frame is that of its first cloud.
  void Join(const Cloud& further);

  /// Hands over the frame that is complete.
  void Deliver();

  [[noreturn]] void Fail(const std::string& what) const;

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
