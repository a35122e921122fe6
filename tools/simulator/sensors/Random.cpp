// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/Random.h"

namespace orliq::sim {
namespace {

/// Spreads neighbouring numbers over all 64 bits (the SplitMix64 finaliser).
std::uint64_t Mix(std::uint64_t value) {
  value += 0x9E3779B97F4A7C15U;
  value = (value ^ (value >> 30U)) * 0xBF58476D1CE4E5B9U;
  value = (value ^ (value >> 27U)) * 0x94D049BB133111EBU;
  return value ^ (value >> 31U);
}

}  // namespace

Random::Random(std::uint64_t seed, std::uint64_t stream, std::uint64_t frame)
    : engine_(Mix(Mix(Mix(seed) ^ stream) ^ frame)) {}

double Random::Uniform(double low, double high) {
  const double share = static_cast<double>(engine_() >> 11U) * 0x1p-53;
  return low + (high - low) * share;
}

double Random::Gaussian() {
  // Twelve even numbers have a variance of 1 together; four fit in one draw.
  std::uint64_t sum = 0;
  for (int draw = 0; draw < 3; ++draw) {
    const std::uint64_t bits = engine_();
    sum += (bits & 0xFFFFU) + ((bits >> 16U) & 0xFFFFU) + ((bits >> 32U) & 0xFFFFU) + (bits >> 48U);
  }
  return (static_cast<double>(sum) + 6.0) * 0x1p-16 - 6.0;
}

}  // namespace orliq::sim
