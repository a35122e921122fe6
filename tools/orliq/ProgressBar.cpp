// SPDX-License-Identifier: Apache-2.0
#include "orliq/ProgressBar.h"

#include <unistd.h>

#include <algorithm>
#include <iostream>
#include <utility>

namespace orliq::cli {
namespace {

constexpr std::size_t kCells = 40;
constexpr auto kPause = std::chrono::milliseconds(100);

}  // namespace

ProgressBar::ProgressBar(std::string task, std::uint64_t total, bool silent)
    : task_(std::move(task)), total_(std::max<std::uint64_t>(total, 1)) {
  enabled_ = !silent && ::isatty(STDERR_FILENO) == 1;
}

ProgressBar::~ProgressBar() {
  if (drawn_) std::cerr << "\r\033[K" << std::flush;
}

void ProgressBar::Update(std::uint64_t done) {
  if (!enabled_ || Clock::now() < next_) return;
  next_ = Clock::now() + kPause;
  drawn_ = true;
  const double share = std::min(1.0, static_cast<double>(done) / static_cast<double>(total_));
  const auto full = static_cast<std::size_t>(share * kCells);
  const auto percent = std::to_string(static_cast<int>(share * 100));
  std::cerr << "\r" + task_ + " [" + std::string(full, '#') + std::string(kCells - full, '.') +
                   "] " + percent + " %\033[K"
            << std::flush;
}

}  // namespace orliq::cli
