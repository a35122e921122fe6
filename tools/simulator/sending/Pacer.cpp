// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/Pacer.h"

#include <algorithm>
#include <cmath>
#include <ctime>
#include <utility>

namespace orliq::sim {
namespace {

using std::chrono::nanoseconds;

constexpr double kLongestPause = 2.0;                               // [s] as recorded
constexpr nanoseconds kLongestNap = std::chrono::milliseconds(50);  // until `stop` is asked again
constexpr double kDisorder = 0.01;  // [s] by so much packets may overtake each other in a recording
constexpr double kNanoseconds = 1e9;  // in a second

}  // namespace

PaceClock::Time MonotonicClock::Now() {
  timespec now = {};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::chrono::seconds(now.tv_sec) + nanoseconds(now.tv_nsec);
}

void MonotonicClock::SleepUntil(Time moment) {
  const auto seconds = std::chrono::duration_cast<std::chrono::seconds>(moment);
  const timespec end = {seconds.count(), (moment - seconds).count()};
  ::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &end, nullptr);
}

Pacer::Pacer(double speed, PaceClock& clock, std::function<bool()> stop)
    : speed_(speed), clock_(clock), stop_(std::move(stop)) {}

void Pacer::WaitUntil(Time due) {
  Time now = clock_.Now();
  while (now < due && !stop_()) {
    clock_.SleepUntil(std::min(due, now + kLongestNap));
    now = clock_.Now();
  }
  worst_delay_ = std::max(worst_delay_, now - due);
}

void Pacer::Start(double time_s, Time moment) {
  Anchor(time_s, moment);
  started_ = true;
  latest_s_ = time_s;
  latest_due_ = moment;
}

Pacer::Time Pacer::Due(double time_s) {
  const double step = started_ ? time_s - latest_s_ : 0.0;
  if (-kDisorder < step && step < 0.0) return latest_due_;
  if (!started_) {
    Anchor(time_s, clock_.Now());
  } else if (step < 0.0) {
    Anchor(time_s, latest_due_);
  } else if (step > kLongestPause) {
    Anchor(time_s, latest_due_ + nanoseconds(std::llround(kLongestPause / speed_ * kNanoseconds)));
    ++shortened_pauses_;
  }
  started_ = true;
  latest_s_ = time_s;
  const double since_anchor = (time_s - anchor_s_) / speed_ * kNanoseconds;
  latest_due_ = anchor_due_ + nanoseconds(std::llround(since_anchor));
  return latest_due_;
}

void Pacer::Anchor(double time_s, Time due) {
  anchor_s_ = time_s;
  anchor_due_ = due;
}

}  // namespace orliq::sim
