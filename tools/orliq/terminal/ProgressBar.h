// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstddef>
#include <cstdint>
#include <string>

#include "orliq/terminal/StatusLine.h"

namespace orliq::cli {

/// "[####......] 40 %" for 0.4 and ten cells.
std::string BarText(double share, std::size_t cells);

/// ", 12 s left" for a job whose `share`, 0 to 1, took `seconds`, if the rest takes as long as that
/// part did. Nothing in the first second and at the end.
std::string TimeLeftText(double share, double seconds);

/// How far a long job is and how long the rest will take, as a status line with a bar.
class ProgressBar {
 public:
  /// `task` stands before the bar ("playing"). A silent bar never draws.
  ProgressBar(std::string task, std::uint64_t total, bool silent);

  void Update(std::uint64_t done);

 private:
  using Clock = std::chrono::steady_clock;

  std::string task_;
  std::uint64_t total_;
  StatusLine line_;
  Clock::time_point start_ = Clock::now();
};

}  // namespace orliq::cli
