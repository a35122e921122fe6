// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "multi_driver/OrliqDriver.h"
#include "multi_driver/SensorModels.h"
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

  using Sink = std::function<void(const Frame&)>;

  explicit FramePlayer(const lidar::SensorModel& model);
  ~FramePlayer();
  FramePlayer(const FramePlayer&) = delete;
  FramePlayer& operator=(const FramePlayer&) = delete;

  /// Lets WaitForIndex and Play end as an interrupt does; from any thread.
  void Abandon() { abandoned_ = true; }
  bool Ended() const { return abandoned_ || InterruptRequested(); }

  /// Initialises and starts the driver; an empty `source` takes every sender.
  bool Open(const lidar::DriverParam& param, const std::string& source);

  /// Waits until the capture is indexed and returns its number of frame entries; 0 when it is
  /// interrupted.
  int WaitForIndex();

  /// Plays the entries `first` to before `last`, which must be there, and hands every cloud to
  /// `sink(frame)` in order; false when it was interrupted. A decoder that remembers plays `ahead`
  /// before, and nobody sees it, unless `first` follows what was played last. May be called again.
  bool PlayRange(int ahead, int first, int last, const Sink& sink);

  /// Likewise for the last time: the driver has stopped when it returns.
  bool Play(int ahead, int first, int last, const Sink& sink);

  /// What the driver made of the capture so far, without what it played ahead of the first frame.
  lidar::DriverStatistics Statistics() const;

  /// Reports of refused packets by error code, while indexing and of what was handed on. The driver
  /// makes one in two seconds at most.
  std::map<std::uint32_t, std::uint64_t> Faults();

 private:
  static constexpr std::size_t kRoom = 4;  // [clouds]
  static constexpr auto kPoll = std::chrono::microseconds(200);
  static constexpr auto kInterruptPoll = std::chrono::milliseconds(50);

  /// Asks with mutex_ held until the answer is yes; false when it is interrupted. A cloud that
  /// waits alone stays, to be worked on while the driver decodes the next frame.
  bool Wait(const Sink& sink, const std::function<bool()>& ask);

  /// Requests an entry once the driver is free; false when it is interrupted. The lock spans
  /// request and bookkeeping, so that no cloud of the new frame can arrive before `entry_` names it.
  bool Request(int entry, bool discard, const Sink& sink);

  /// False while the driver plays. Afterwards its clouds of the last frame are complete, and the one
  /// to be filled next is left alone. With mutex_ held.
  bool Finish();

  /// Until the frame that was requested last gave a cloud; false when it is interrupted.
  bool WaitForCloud();

  void Stop();

  void Arrive(std::shared_ptr<Cloud> cloud);

  /// Puts an earlier cloud of the same request in front. With mutex_ held.
  void Join(Frame frame);

  /// Room for as many points as the frame before had.
  std::shared_ptr<Cloud> EmptyCloud();

  /// Hands on what waits, if it is more than `patience` clouds.
  void HandOn(const Sink& sink, std::size_t patience);

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
