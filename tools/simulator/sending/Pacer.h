// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>

namespace orliq::sim {

/// The time that a Pacer goes by: the machine's monotonic clock, or a test's own.
class PaceClock {
 public:
  using Time = std::chrono::nanoseconds;  // since some fixed moment

  PaceClock() = default;
  virtual ~PaceClock() = default;
  PaceClock(const PaceClock&) = delete;
  PaceClock& operator=(const PaceClock&) = delete;

  virtual Time Now() = 0;

  /// Sleeps until that moment, or until a signal comes.
  virtual void SleepUntil(Time moment) = 0;
};

class MonotonicClock final : public PaceClock {
 public:
  Time Now() override;
  void SleepUntil(Time moment) override;
};

/// Lets packets go at the pace at which they were recorded, the first one at once.
///
/// A packet is due at a moment fixed by the first one, so that delays do not add up: one that comes
/// late goes at once, and so do those that fall due meanwhile. A recorded pause of more than 2 s counts
/// as 2 s; where recorded times jump back, the pace goes on from there. Not thread safe.
class Pacer {
 public:
  using Time = PaceClock::Time;

  /// Plays `speed` times as fast as recorded, > 0. `stop` is asked while waiting and ends the wait.
  Pacer(double speed, PaceClock& clock, std::function<bool()> stop);

  /// What is recorded at `time_s` is due at `moment`, rather than the first packet at once. Call it
  /// before any packet: pacers of one start keep step.
  void Start(double time_s, Time moment);

  /// When the packet recorded at `time_s` is due. Call it for every packet, in their order.
  Time Due(double time_s);

  void WaitUntil(Time due);
  void WaitUntilDue(double time_s) { WaitUntil(Due(time_s)); }

  PaceClock& Clock() { return clock_; }

  /// By how much the latest of all packets missed its moment.
  Time WorstDelay() const { return worst_delay_; }

  std::uint64_t ShortenedPauses() const { return shortened_pauses_; }

 private:
  void Anchor(double time_s, Time due);

  double speed_;
  PaceClock& clock_;
  std::function<bool()> stop_;
  bool started_ = false;
  double anchor_s_ = 0.0;  // the recorded time which is due at anchor_due_
  Time anchor_due_{};
  double latest_s_ = 0.0;  // recorded time of the latest packet
  Time latest_due_{};
  Time worst_delay_{};
  std::uint64_t shortened_pauses_ = 0;
};

}  // namespace orliq::sim
