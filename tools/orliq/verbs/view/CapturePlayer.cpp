// SPDX-License-Identifier: Apache-2.0
#include "orliq/verbs/view/CapturePlayer.h"

#include <algorithm>
#include <utility>
#include <variant>

#include "orliq/clouds/FramePace.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::milliseconds kInterruptPoll{50};

/// What a page asks for, done to the state; the frame that it wants to see, if one.
struct Obey {
  PlayerState& state;

  std::optional<int> operator()(const SetPlaying& command) const {
    state.playing = command.playing;
    const bool at_end = state.entry + 1 == state.entries;
    return command.playing && at_end && !state.loop ? std::optional<int>(0) : std::nullopt;
  }
  std::optional<int> operator()(const StepFrames& command) const {
    state.playing = false;
    return (state.entry + command.by + state.entries) % state.entries;
  }
  std::optional<int> operator()(const SeekFrame& command) const {
    return std::min(command.entry, state.entries - 1);
  }
  std::optional<int> operator()(const SetSpeed& command) const {
    state.speed = command.factor;
    return std::nullopt;
  }
  std::optional<int> operator()(const SetLoop& command) const {
    state.loop = command.on;
    return std::nullopt;
  }
};

}  // namespace

CapturePlayer::CapturePlayer(int entries, PlayFrame play, ViewHub& hub)
    : play_(std::move(play)), hub_(hub), wanted_(0) {
  state_.entries = entries;
  hub_.TellPlayer(PlayerText(state_));
  hub_.SetPlayer([this](const PlayerCommand& command) { Command(command); });
}

CapturePlayer::~CapturePlayer() {
  hub_.SetPlayer(nullptr);
}

void CapturePlayer::Command(const PlayerCommand& command) {
  const std::lock_guard lock(mutex_);
  const std::optional<int> frame = std::visit(Obey{state_}, command);
  if (frame) {
    wanted_ = frame;
    state_.entry = *frame;  // so that the next step counts from there
  }
  commanded_ = true;
  hub_.TellPlayer(PlayerText(state_));
  changed_.notify_all();
}

void CapturePlayer::End() {
  const std::lock_guard lock(mutex_);
  ended_ = true;
  changed_.notify_all();
}

void CapturePlayer::Run(const std::function<void()>& after) {
  while (Goes()) {
    if (!PlayWanted()) PlayNext();
    after();
  }
}

bool CapturePlayer::Goes() {
  const std::lock_guard lock(mutex_);
  return !Over();
}

/// Whether it showed the frame that a page asked for.
bool CapturePlayer::PlayWanted() {
  const std::optional<int> entry = Wanted();
  if (!entry) return false;
  auto ready = Prepare(*entry, true);
  if (!ready) return false;
  Show(std::move(*ready));
  return true;
}

/// Shows the frame that follows, when it is due.
void CapturePlayer::PlayNext() {
  const std::optional<int> entry = Following();
  if (!entry) {
    WaitUntil(Clock::now() + kInterruptPoll);
    return;
  }
  auto ready = Prepare(*entry, false);
  if (ready && WaitUntil(ready->due)) Show(std::move(*ready));
}

std::optional<int> CapturePlayer::Wanted() {
  const std::lock_guard lock(mutex_);
  commanded_ = false;
  return std::exchange(wanted_, std::nullopt);
}

/// The frame behind the one that is shown, while it plays and somebody looks. At the end without a loop
/// it stops; the only frame of a capture stays without being decoded again.
std::optional<int> CapturePlayer::Following() {
  const bool watched = hub_.Watched();
  const std::lock_guard lock(mutex_);
  if (!watched || !state_.playing || commanded_) return std::nullopt;
  const int next = state_.entry + 1;
  if (next < state_.entries) return next;
  if (state_.loop) return state_.entries > 1 ? std::optional<int>(0) : std::nullopt;
  state_.playing = false;
  hub_.TellPlayer(PlayerText(state_));
  return std::nullopt;
}

std::optional<CapturePlayer::Ready> CapturePlayer::Prepare(int entry, bool at_once) {
  std::optional<TakenCloud> cloud = play_(entry);
  if (!cloud) return std::nullopt;
  const Clock::time_point due =
      at_once ? Clock::now() : shown_at_ + PauseBefore(cloud->view.timestamp);
  return Ready{entry, std::move(*cloud), due};
}

/// False as soon as a command or an interrupt comes.
bool CapturePlayer::WaitUntil(Clock::time_point due) {
  std::unique_lock lock(mutex_);
  while (Clock::now() < due && !commanded_ && !Over()) {
    changed_.wait_until(lock, std::min(due, Clock::now() + kInterruptPoll));
  }
  return !commanded_ && !Over();
}

void CapturePlayer::Show(Ready ready) {
  time_ = ready.cloud.view.timestamp;
  // Of a frame that was due meanwhile the next one is not late: the pace is kept.
  shown_at_ = std::max(ready.due, Clock::now() - std::chrono::milliseconds(200));
  hub_.Show(std::move(ready.cloud), ready.entry);
  const std::lock_guard lock(mutex_);
  if (wanted_) return;
  state_.entry = ready.entry;
  hub_.TellPlayer(PlayerText(state_));
}

CapturePlayer::Clock::duration CapturePlayer::PauseBefore(double time) {
  const std::lock_guard lock(mutex_);
  return std::chrono::duration_cast<Clock::duration>(
      std::chrono::duration<double>(PauseBetween(time_, time) / state_.speed));
}

}  // namespace orliq::cli
