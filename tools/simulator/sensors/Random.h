// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <random>

namespace orliq::sim {

// Streams of random numbers, one for each purpose, the same in every model. A number given stays for
// ever, or old captures could not be made again: what a model draws beside these has 4 to 99.
constexpr std::uint64_t kCalibrationStream = 1;
constexpr std::uint64_t kNoiseStream = 2;
constexpr std::uint64_t kFalseReturnStream = 3;
constexpr std::uint64_t kPacketFaultStreams = 100;  // and the numbers that follow
constexpr std::uint64_t kReplyFaultStreams = 200;   // likewise

/// Random numbers that are the same with every compiler and standard library: the engine is fixed
/// by the language, its distributions are not, so they are made here from whole numbers alone.
class Random {
 public:
  /// Streams of one seed are independent of each other: asking one for more numbers leaves the
  /// others as they were.
  Random(std::uint64_t seed, std::uint64_t stream, std::uint64_t frame = 0);

  /// Even over [low, high).
  double Uniform(double low, double high);

  /// Bell shape of mean 0 and standard deviation 1, within +-6.
  double Gaussian();

  /// True with this probability.
  bool Chance(double probability) { return Uniform(0.0, 1.0) < probability; }

 private:
  std::mt19937_64 engine_;
};

}  // namespace orliq::sim
