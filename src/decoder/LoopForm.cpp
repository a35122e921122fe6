// SPDX-License-Identifier: Apache-2.0
#include "decoder/LoopForm.h"

namespace orliq::lidar {

// Until this is set, decoders of other static objects run the portable form.
std::atomic<bool> LoopForm::wide{LoopForm::HasWide()};

bool LoopForm::HasWide() {
#if ORLIQ_HAS_WIDE_FORM
  __builtin_cpu_init();  // this may run before the constructors of the compiler's own library
  return __builtin_cpu_supports("avx2") != 0;
#else
  return false;
#endif
}

const char* LoopForm::Name() {
#if ORLIQ_HAS_WIDE_FORM
  return IsWide() ? "x86-64 with AVX2" : "x86-64 without AVX2";
#elif defined(__aarch64__)
  return "ARM64 with NEON";
#else
  return "portable";
#endif
}

}  // namespace orliq::lidar
