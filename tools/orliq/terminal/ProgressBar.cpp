// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/ProgressBar.h"

#include <algorithm>
#include <utility>

namespace orliq::cli {
namespace {

constexpr std::size_t kCells = 40;
constexpr auto kPause = std::chrono::milliseconds(100);

}  // namespace

std::string BarText(double share, std::size_t cells) {
  const double part = std::clamp(share, 0.0, 1.0);
  const auto full = static_cast<std::size_t>(part * static_cast<double>(cells));
  return '[' + std::string(full, '#') + std::string(cells - full, '.') + "] " +
         std::to_string(static_cast<int>(part * 100)) + " %";
}

ProgressBar::ProgressBar(std::string task, std::uint64_t total, bool silent)
    : task_(std::move(task)), total_(std::max<std::uint64_t>(total, 1)), line_(silent) {}

void ProgressBar::Update(std::uint64_t done) {
  if (!line_.Enabled() || Clock::now() < next_) return;
  next_ = Clock::now() + kPause;
  const double share = static_cast<double>(done) / static_cast<double>(total_);
  line_.Show(task_ + ' ' + BarText(share, kCells));
}

}  // namespace orliq::cli
