// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/StatusLine.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>

namespace orliq::cli {
namespace {

/// Columns of the terminal; a longer line would break and could not be written over.
std::size_t Width() {
  winsize size = {};
  const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

}  // namespace

StatusLine::StatusLine(bool silent) : enabled_(!silent && ::isatty(STDERR_FILENO) == 1) {}

StatusLine::~StatusLine() {
  if (drawn_) std::cerr << "\r\033[K" << std::flush;
}

void StatusLine::Show(const std::string& text) {
  if (!enabled_) return;
  drawn_ = true;
  std::cerr << "\r" + text.substr(0, Width() - 1) + "\033[K" << std::flush;
}

}  // namespace orliq::cli
