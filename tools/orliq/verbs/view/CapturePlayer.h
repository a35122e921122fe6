// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <condition_variable>
#include <functional>
#include <mutex>
#include <optional>

#include "orliq/clouds/CloudTaker.h"
#include "orliq/terminal/Interrupt.h"
#include "orliq/verbs/view/ViewCommand.h"
#include "orliq/verbs/view/ViewHub.h"
#include "orliq/verbs/view/ViewTexts.h"

namespace orliq::cli {

/// Shows the frames of a capture at the pace of their times, as pages ask for it: one player for all of
/// them. Without times, or where they jump, ten frames a second. While no page is open it waits.
///
/// Threads: Run belongs to one, which plays; Command may come from any.
class CapturePlayer {
 public:
  /// Plays frame `entry`; nothing when it was interrupted.
  using PlayFrame = std::function<std::optional<TakenCloud>(int entry)>;

  /// Obeys the pages of `hub`, which outlives this.
  CapturePlayer(int entries, PlayFrame play, ViewHub& hub);
  ~CapturePlayer();
  CapturePlayer(const CapturePlayer&) = delete;
  CapturePlayer& operator=(const CapturePlayer&) = delete;

  void Command(const PlayerCommand& command);

  /// Lets Run return soon; from any thread. Whoever runs it may destroy this then.
  void End();

  /// Until End or an interrupt. `after` is called behind each frame that was shown, and many times a second
  /// while none is.
  void Run(const std::function<void()>& after);

 private:
  using Clock = std::chrono::steady_clock;

  /// A frame that was played ahead of its time.
  struct Ready {
    int entry = 0;
    TakenCloud cloud;
    Clock::time_point due;
  };

  bool Over() const { return ended_ || InterruptRequested(); }  // with mutex_ held
  bool Goes();
  bool PlayWanted();
  void PlayNext();
  std::optional<int> Wanted();
  std::optional<int> Following();
  std::optional<Ready> Prepare(int entry, bool at_once);
  bool WaitUntil(Clock::time_point due);
  void Show(Ready ready);
  Clock::duration PauseBefore(double time);

  const PlayFrame play_;
  ViewHub& hub_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool ended_ = false;          // guarded by mutex_, so that End is through when Run sees it
  PlayerState state_;           // guarded by mutex_
  std::optional<int> wanted_;   // the frame that a page asked for; guarded by mutex_
  bool commanded_ = false;      // since the last look; guarded by mutex_
  double time_ = 0.0;           // [s] of the frame that is shown; of the thread of Run
  Clock::time_point shown_at_;  // likewise
};

}  // namespace orliq::cli
