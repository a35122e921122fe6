// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdio>
#include <cstdlib>
#include <functional>
#include <future>
#include <thread>

#include "support/Patience.h"

// Threads that may hang, and such as are held.
namespace orliq::test {

/// Runs a body that may hang, such as one that joins a thread. After the deadline it ends the process
/// with what it waited for, so that nobody waits for the time limit of the whole test.
inline void MustEnd(const char* what, const std::function<void()>& body) {
  std::promise<void> ended;
  std::thread guard([what, end = ended.get_future()] {
    if (end.wait_for(kDeadline) == std::future_status::ready) return;
    std::fprintf(stderr, "%s did not end within %d s\n", what, static_cast<int>(kDeadline.count()));
    std::abort();
  });
  body();
  ended.set_value();
  guard.join();
}

/// Holds the thread that makes the `nth` call, inside the application's code, until it is let go.
struct Hold {
  void operator()() {
    if (--nth != 0) return;
    reached.set_value();
    go.get_future().wait_for(kDeadline);
  }
  bool Reached() { return reached.get_future().wait_for(kDeadline) == std::future_status::ready; }

  int nth = 1;
  std::promise<void> reached = {};
  std::promise<void> go = {};
};

}  // namespace orliq::test
