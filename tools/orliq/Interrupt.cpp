// SPDX-License-Identifier: Apache-2.0
#include "orliq/Interrupt.h"

#include <atomic>
#include <csignal>
#include <thread>

namespace orliq::cli {
namespace {

// The signal may arrive on any thread.
std::atomic<bool> requested{false};
static_assert(std::atomic<bool>::is_always_lock_free, "as a signal handler needs it");
constexpr std::chrono::microseconds kLongestNap{50'000};

extern "C" void OnSignal(int signal) {
  requested = true;
  std::signal(signal, SIG_DFL);
}

}  // namespace

Interrupt::Interrupt() {
  requested = false;
  std::signal(SIGINT, OnSignal);
  std::signal(SIGTERM, OnSignal);
}

Interrupt::~Interrupt() {
  std::signal(SIGINT, SIG_DFL);
  std::signal(SIGTERM, SIG_DFL);
}

bool Interrupt::Requested() {
  return requested;
}

bool Interrupt::WaitFor(std::chrono::microseconds time) {
  const auto end = std::chrono::steady_clock::now() + time;
  for (auto now = end - time; now < end && !Requested(); now = std::chrono::steady_clock::now()) {
    const auto left = std::chrono::duration_cast<std::chrono::microseconds>(end - now);
    std::this_thread::sleep_for(left < kLongestNap ? left : kLongestNap);
  }
  return Requested();
}

}  // namespace orliq::cli
