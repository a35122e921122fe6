// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/ProgressBar.h"

#include <algorithm>
#include <cmath>
#include <utility>

namespace orliq::cli {
namespace {

constexpr std::size_t kCells = 40;
constexpr std::chrono::milliseconds kPause{100};

std::string PercentText(double share) {
  return std::to_string(static_cast<int>(share * 100)) + " %";
}

}  // namespace

std::string BarText(double share, std::size_t cells) {
  const double part = std::clamp(share, 0.0, 1.0);
  const auto full = static_cast<std::size_t>(part * static_cast<double>(cells));
  return '[' + std::string(full, '#') + std::string(cells - full, '.') + "] " + PercentText(part);
}

std::string TimeLeftText(double share, double seconds) {
  if (!(share > 0.0) || share >= 1.0 || seconds < 1.0) return {};
  const double left = seconds * (1.0 - share) / share;
  const auto whole = [](double value) {
    return std::to_string(static_cast<std::uint64_t>(std::min(std::ceil(value), 1e9)));
  };
  if (left < 100.0) return ", " + whole(left) + " s left";
  return ", " + (left < 6000.0 ? whole(left / 60.0) + " min" : whole(left / 3600.0) + " h") +
         " left";
}

ProgressBar::ProgressBar(std::string task, std::uint64_t total, bool silent)
    : task_(std::move(task)), total_(std::max<std::uint64_t>(total, 1)), line_(silent, kPause) {}

void ProgressBar::Update(std::uint64_t done) {
  if (!line_.Due()) return;
  const std::chrono::duration<double> elapsed = Clock::now() - start_;
  const double share = std::min(static_cast<double>(done) / static_cast<double>(total_), 1.0);
  line_.Show(task_ + ' ' + (line_.OnTerminal() ? BarText(share, kCells) : PercentText(share)) +
             TimeLeftText(share, elapsed.count()));
}

}  // namespace orliq::cli
