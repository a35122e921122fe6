// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Interrupt.h"

#include <atomic>
#include <csignal>
#include <cstdint>
#include <ctime>
#include <thread>

namespace orliq::cli {
namespace {

// The signal may arrive on any thread. [ms] of the monotonic clock; 0: no request yet.
std::atomic<std::int64_t> requested_at{0};
static_assert(std::atomic<std::int64_t>::is_always_lock_free, "as a signal handler needs it");
constexpr std::int64_t kSameRequest = 500;  // [ms]
constexpr std::chrono::microseconds kLongestNap{50'000};
constexpr int kSignals[] = {SIGINT, SIGTERM, SIGHUP};

std::int64_t NowMs() {
  timespec now = {};
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return std::int64_t{now.tv_sec} * 1000 + now.tv_nsec / 1'000'000 + 1;
}

extern "C" void OnSignal(int signal) {
  const std::int64_t now = NowMs();
  std::int64_t first = 0;
  if (requested_at.compare_exchange_strong(first, now) || now - first < kSameRequest) return;
  std::signal(signal, SIG_DFL);
  ::raise(signal);
}

}  // namespace

void CatchInterrupts() {
  for (const int signal : kSignals) {
    // Under nohup a program is to outlive its terminal.
    const auto before = std::signal(signal, OnSignal);
    if (signal == SIGHUP && before == SIG_IGN) std::signal(signal, SIG_IGN);
  }
}

bool InterruptRequested() {
  return requested_at != 0;
}

bool WaitForInterrupt(std::chrono::microseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  for (auto now = end - time; now < end && !InterruptRequested();
       now = std::chrono::steady_clock::now()) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - now);
    std::this_thread::sleep_for(left < kLongestNap ? left : kLongestNap);
  }
  return InterruptRequested();
}

}  // namespace orliq::cli
