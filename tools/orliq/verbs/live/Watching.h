// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

#include "orliq/terminal/Interrupt.h"

namespace orliq::cli {

constexpr std::chrono::milliseconds kPass{20};  // between looks at the counts

/// Looks at what has come until it is time to end, and stops the source; the tally of it all.
template <typename Watcher, typename Source>
auto WatchUntilOver(Watcher& watcher, Source& source) {
  while (!watcher.Over() && !WaitForInterrupt(kPass)) {
    watcher.Look();
    watcher.Show();
  }
  source.Stop();
  watcher.Conclude();
  return watcher.Tally();
}

}  // namespace orliq::cli
