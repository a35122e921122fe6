// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/StatusLine.h"

#include <limits>

#include "orliq/terminal/StandardError.h"

namespace orliq::cli {
namespace {

constexpr std::chrono::seconds kPauseInALog{10};

}  // namespace

StatusLine::StatusLine(bool silent, std::chrono::milliseconds pause)
    : silent_(silent),
      terminal_(standard_error::IsTerminal()),
      pause_(terminal_ ? pause : kPauseInALog),
      next_(Clock::now() + pause_) {}

StatusLine::~StatusLine() {
  if (!silent_ && terminal_) standard_error::ClearProgress();
}

std::size_t StatusLine::Width() const {
  return terminal_ ? standard_error::Width() - 1 : std::numeric_limits<std::size_t>::max();
}

void StatusLine::Show(const std::string& text) {
  if (silent_) return;
  next_ = Clock::now() + pause_;
  terminal_ ? standard_error::ShowProgress(text) : standard_error::PrintLine(text);
}

}  // namespace orliq::cli
