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

/// A bar on standard error that shows how far a long job is. It draws only on a terminal, at most
/// ten times a second, and wipes itself out when it is destroyed.
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
  Clock::time_point next_ = Clock::time_point::min();
};

}  // namespace orliq::cli
