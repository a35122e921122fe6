// SPDX-License-Identifier: Apache-2.0
#include "orliq/clouds/FramePlayer.h"

#include <thread>
#include <utility>

#include "orliq/clouds/StatisticsSince.h"

namespace orliq::cli {

template <typename Cloud>
FramePlayer<Cloud>::FramePlayer(const lidar::SensorModel& model)
    : remembers_(model.decodes_points && model.frame_mark == lidar::FrameMark::First) {}

template <typename Cloud>
FramePlayer<Cloud>::~FramePlayer() {
  Stop();
}

template <typename Cloud>
bool FramePlayer<Cloud>::Open(const lidar::DriverParam& param, const std::string& source) {
  driver_.RegisterPointCloudCallBack(
      [this](std::shared_ptr<Cloud> cloud) { Arrive(std::move(cloud)); },
      [this] { return EmptyCloud(); });
  driver_.RegisterExceptionCallBack([this](const lidar::Error& error) {
    const std::lock_guard lock(mutex_);
    if (!discard_) ++faults_[error.code];
  });
  return driver_.SetSourceAddress(source) && driver_.InitDriver(param) && driver_.Start();
}

template <typename Cloud>
int FramePlayer<Cloud>::WaitForIndex() {
  int entries = 0;
  while (!Ended() && !driver_.GetLocalFileStatus(entries)) {
    std::this_thread::sleep_for(kPoll);
  }
  return entries;
}

template <typename Cloud>
bool FramePlayer<Cloud>::PlayRange(int ahead, int first, int last, const Sink& sink) {
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

template <typename Cloud>
bool FramePlayer<Cloud>::Play(int ahead, int first, int last, const Sink& sink) {
  const bool more = PlayRange(ahead, first, last, sink);
  Stop();
  HandOn(sink, 0);
  return more;
}

template <typename Cloud>
lidar::DriverStatistics FramePlayer<Cloud>::Statistics() const {
  lidar::DriverStatistics statistics;
  driver_.GetStatistics(statistics);
  return Since(before_, statistics);
}

template <typename Cloud>
std::map<std::uint32_t, std::uint64_t> FramePlayer<Cloud>::Faults() {
  const std::lock_guard lock(mutex_);
  return faults_;
}

template <typename Cloud>
bool FramePlayer<Cloud>::Wait(const Sink& sink, const std::function<bool()>& ask) {
  for (; !Ended(); std::this_thread::sleep_for(kPoll)) {
    HandOn(sink, 1);
    const std::lock_guard lock(mutex_);
    if (ask()) return true;
  }
  return false;
}

template <typename Cloud>
bool FramePlayer<Cloud>::Request(int entry, bool discard, const Sink& sink) {
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

template <typename Cloud>
bool FramePlayer<Cloud>::Finish() {
  if (driver_.IsLocalFramePlaying()) return false;
  if (filling_) filling_->points.clear();
  if (joined_.cloud) arrived_.push_back(std::exchange(joined_, {}));
  return true;
}

template <typename Cloud>
bool FramePlayer<Cloud>::WaitForCloud() {
  std::unique_lock lock(mutex_);
  while (!answered_ && !Ended()) arrival_.wait_for(lock, kInterruptPoll);
  return answered_;
}

template <typename Cloud>
void FramePlayer<Cloud>::Stop() {
  {
    const std::lock_guard lock(mutex_);
    Finish();  // of an interrupted playback a whole frame may be left
    discard_ = true;
  }
  room_.notify_all();
  driver_.Stop();
}

template <typename Cloud>
void FramePlayer<Cloud>::Arrive(std::shared_ptr<Cloud> cloud) {
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

template <typename Cloud>
void FramePlayer<Cloud>::Join(Frame frame) {
  if (joined_.cloud) {
    auto& points = frame.cloud->points;
    const auto& early = joined_.cloud->points;
    points.insert(points.begin(), early.begin(), early.end());
    frame.early_points = early.size();
    frame.seconds += joined_.seconds;
  }
  joined_ = std::move(frame);
}

template <typename Cloud>
std::shared_ptr<Cloud> FramePlayer<Cloud>::EmptyCloud() {
  auto cloud = std::make_shared<Cloud>();
  cloud->points.reserve(usual_points_);
  const std::lock_guard lock(mutex_);
  if (remembers_) filling_ = cloud;
  return cloud;
}

template <typename Cloud>
void FramePlayer<Cloud>::HandOn(const Sink& sink, std::size_t patience) {
  std::vector<Frame> frames;
  {
    const std::lock_guard lock(mutex_);
    if (arrived_.size() > patience) frames.swap(arrived_);
  }
  room_.notify_one();
  for (const Frame& frame : frames) sink(frame);
}

#define ORLIQ_INSTANTIATE(Cloud) template class FramePlayer<Cloud>;
ORLIQ_FOR_EACH_CLOUD(ORLIQ_INSTANTIATE)

}  // namespace orliq::cli
