// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>

// Ctrl-C, SIGTERM and a lost terminal as a request to finish: the first signal sets a flag, so that a
// verb can close its files and print its table; another one half a second later or more ends the
// program at once. Sooner, it is taken for the same request: the program timeout, for one, signals
// first the process and then its group.
namespace orliq::cli {

/// From now on until the program ends. Call it before any other thread starts.
void CatchInterrupts();

bool InterruptRequested();

/// Waits for that time or until a signal comes; true when one has come.
bool WaitForInterrupt(std::chrono::microseconds time);

}  // namespace orliq::cli
