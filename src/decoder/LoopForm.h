// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>

// The decoders' loops over the returns of a packet come in two forms of one source: one for every
// processor of the architecture (ARM64 has vectors from the start), and on x86-64 a wide one for
// those with AVX2, chosen while the program runs. Their points have the same bits: no product is
// fused with a sum, and a vector does for several returns what the plain loop does for each.
#if defined(__x86_64__) && defined(__GNUC__)
#define ORLIQ_HAS_WIDE_FORM 1
#else
#define ORLIQ_HAS_WIDE_FORM 0
#endif

/// A step of such a loop: part of the function that calls it, and compiled with its instructions.
#define ORLIQ_LOOP_STEP [[gnu::always_inline]] inline

namespace orliq::lidar {

/// Which form runs. Threads: any; a packet that is being decoded keeps its form.
class LoopForm {
 public:
  /// Whether this processor has the wide form.
  static bool HasWide();
  static bool IsWide() { return wide.load(std::memory_order_relaxed); }

  /// The instruction set in use, in words.
  static const char* Name();

  /// For tests and benchmarks: keeps every decoder of the process to the portable form, or no longer.
  static void ForcePortable(bool force) { wide.store(!force && HasWide()); }

 private:
  static std::atomic<bool> wide;
};

template <typename Loop, typename... Args>
void RunPortable(Args&... args) {
  Loop::Run(args...);
}

#if ORLIQ_HAS_WIDE_FORM
// An attribute, and no file that is compiled for AVX2: of an inline function that such a file shares
// with others the linker might keep its copy, for all processors.
template <typename Loop, typename... Args>
[[gnu::target("avx2")]] void RunWide(Args&... args) {
  Loop::Run(args...);
}
#endif

template <typename Loop, typename... Args>
auto ChooseForm() -> void (*)(Args&...) {
#if ORLIQ_HAS_WIDE_FORM
  if (LoopForm::IsWide()) return &RunWide<Loop, Args...>;
#endif
  return &RunPortable<Loop, Args...>;
}

/// Calls `Loop::Run(args...)`, a loop step made of loop steps, in the form of this processor.
template <typename Loop, typename... Args>
void RunLoop(Args&... args) {
  ChooseForm<Loop, Args...>()(args...);
}

}  // namespace orliq::lidar
