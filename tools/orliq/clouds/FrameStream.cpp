// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/FrameStream.h"

#include <pthread.h>

#include <algorithm>
#include <utility>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {

template <typename Cloud>
FrameStream<Cloud>::FrameStream(FramesWanted wanted)
    : wanted_(std::move(wanted)), player_(*wanted_.model), thread_([this] { Run(); }) {}

template <typename Cloud>
FrameStream<Cloud>::~FrameStream() {
  Abandon();
  thread_.join();
}

template <typename Cloud>
auto FrameStream<Cloud>::Next() -> std::optional<Frame> {
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

template <typename Cloud>
lidar::DriverStatistics FrameStream<Cloud>::Statistics() {
  Abandon();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return over_; });
  return player_.Statistics();
}

template <typename Cloud>
void FrameStream<Cloud>::Abandon() {
  player_.Abandon();
  const std::lock_guard lock(mutex_);
  abandoned_ = true;
  changed_.notify_all();
}

template <typename Cloud>
void FrameStream<Cloud>::Run() {
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

template <typename Cloud>
void FrameStream<Cloud>::PlayAll() {
  const std::string& capture = wanted_.param.input_param.pcap_file;
  const int last = wanted_.entries.back() + 1;
  if (!player_.Open(wanted_.param, wanted_.source)) Fail("the driver cannot open " + capture);
  const int found = player_.WaitForIndex();
  if (found == 0 && player_.Ended()) return;
  if (found < last) Fail(capture + " has changed: the driver finds fewer frames than before");
  const auto take = [this](const typename FramePlayer<Cloud>::Frame& frame) { Take(frame); };
  if (player_.Play(wanted_.ahead, wanted_.entries.front(), last, take)) Deliver();
}

template <typename Cloud>
void FrameStream<Cloud>::Take(const typename FramePlayer<Cloud>::Frame& frame) {
  if (!std::binary_search(wanted_.entries.begin(), wanted_.entries.end(), frame.entry)) return;
  if (joined_.cloud && joined_.entry == frame.entry) return Join(*frame.cloud);
  Deliver();
  joined_ = {frame.entry, frame.cloud};
  clouds_ = 1;
}

template <typename Cloud>
void FrameStream<Cloud>::Join(const Cloud& further) {
  if (++clouds_ > kCloudsOfAFrame) {
    Fail("frame " + std::to_string(joined_.entry) + " has no end: its marks are lost");
  }
  auto& points = joined_.cloud->points;
  points.insert(points.end(), further.points.begin(), further.points.end());
}

template <typename Cloud>
void FrameStream<Cloud>::Deliver() {
  if (!joined_.cloud) return;
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return abandoned_ || ready_.size() < kAhead; });
  ready_.push_back(std::exchange(joined_, {}));
  changed_.notify_all();
}

template <typename Cloud>
void FrameStream<Cloud>::Fail(const std::string& what) const {
  throw Failure(ExitCode::kFileFault, wanted_.name + ": " + what);
}

#define ORLIQ_INSTANTIATE(Cloud) template class FrameStream<Cloud>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::cli
