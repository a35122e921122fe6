// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/StandardError.h"

#include <sys/ioctl.h>
#include <unistd.h>

#include <iostream>
#include <mutex>

namespace orliq::cli::standard_error {
namespace {

constexpr char kClearLine[] = "\r\033[K";

struct State {
  std::mutex mutex;
  std::string progress;  // guarded by mutex; as it shows, empty when none does
};

/// Never destroyed: a driver's thread may still print while the program ends.
State& Shared() {
  static State* const state = new State;
  return *state;
}

}  // namespace

bool IsTerminal() {
  return ::isatty(STDERR_FILENO) == 1;
}

std::size_t Width() {
  winsize size = {};
  const bool known = ::ioctl(STDERR_FILENO, TIOCGWINSZ, &size) == 0 && size.ws_col > 0;
  return known ? size.ws_col : 80;
}

void PrintLine(const std::string& text) {
  const std::string line = IsTerminal() ? text : WithoutColours(text);
  State& state = Shared();
  const std::lock_guard lock(state.mutex);
  const std::string clear = state.progress.empty() ? "" : kClearLine;
  std::cerr << clear + line + '\n' + state.progress << std::flush;
}

void ShowProgress(const std::string& text) {
  if (!IsTerminal()) return;
  State& state = Shared();
  const std::lock_guard lock(state.mutex);
  state.progress = text.substr(0, Width() - 1);
  std::cerr << kClearLine + state.progress << std::flush;
}

void ClearProgress() {
  State& state = Shared();
  const std::lock_guard lock(state.mutex);
  if (!state.progress.empty()) std::cerr << kClearLine << std::flush;
  state.progress.clear();
}

std::string WithoutColours(const std::string& text) {
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '\033' && i + 1 < text.size() && text[i + 1] == '[') {
      i = text.find('m', i);
      if (i == std::string::npos) break;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

}  // namespace orliq::cli::standard_error
