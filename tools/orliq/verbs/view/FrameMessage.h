// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <chrono>
#include <cstdint>
#include <memory>
#include <string>

#include "orliq/clouds/CloudTaker.h"

// How a cloud goes to a page: docs/view-protocol.md.
namespace orliq::cli {

/// A cloud that is shown.
struct ShownFrame {
  using Clock = std::chrono::steady_clock;

  std::uint64_t number = 0;  ///< of this run, from 1
  TakenCloud cloud;
  int entry = -1;          ///< of a capture; negative: live
  Clock::time_point when;  ///< the driver handed it over
};

/// Puts the points in place of what `bytes` held, as arrays: x, y, z of each one after the other, then
/// every other field of its own, each array at a multiple of 8 bytes.
void FillArrays(const CloudView& cloud, std::string& bytes);

/// What stands before the arrays of a message that is sent now. `skipped` frames were not given to this
/// client so far; its length is a multiple of 8.
std::string FrameHead(const ShownFrame& frame, std::uint64_t skipped);

}  // namespace orliq::cli
