// SPDX-License-Identifier: Apache-2.0
#include "manager/SensorClock.h"

#include <algorithm>
#include <cmath>

namespace orliq::lidar {
namespace {

constexpr std::uint64_t kNsPerSecond = 1'000'000'000;
constexpr double kJump = 0.5;                // [s]
constexpr std::size_t kEnoughForDrift = 10;  // complete seconds

/// [s] The whole seconds go first: a time since 1970 in nanoseconds has more digits than a double.
double Offset(std::uint64_t arrival_ns, double packet_time) {
  const double whole = std::floor(packet_time);
  const std::uint64_t second = arrival_ns / kNsPerSecond;
  const std::uint64_t rest_ns = arrival_ns % kNsPerSecond;
  return static_cast<double>(second) - whole +
         (static_cast<double>(rest_ns) * 1e-9 - (packet_time - whole));
}

}  // namespace

void SensorClock::Note(std::uint64_t arrival_ns, double packet_time) {
  const double offset = Offset(arrival_ns, packet_time);
  const auto second = static_cast<std::int64_t>(arrival_ns / kNsPerSecond);
  const std::lock_guard<std::mutex> lock(mutex_);
  if (packets_++ > 0 && std::abs(offset - latest_) > kJump) {
    ++jumps_;
    filled_ = 0;
  }
  latest_ = offset;
  if (filled_ == 0 || Ago(0).number != second) {
    seconds_[next_] = {second, offset, offset};
    next_ = (next_ + 1) % kKept;
    filled_ = std::min(filled_ + 1, kKept);
    return;
  }
  Second& now = seconds_[(next_ + kKept - 1) % kKept];
  now.smallest = std::min(now.smallest, offset);
  now.largest = std::max(now.largest, offset);
}

ClockStatistics SensorClock::Count() const {
  const std::lock_guard<std::mutex> lock(mutex_);
  ClockStatistics statistics;
  statistics.packets = packets_;
  statistics.jumps = jumps_;
  statistics.latest_s = statistics.smallest_s = statistics.largest_s = latest_;
  for (std::size_t i = 0; i < filled_ && Ago(0).number - Ago(i).number < kShown; ++i) {
    statistics.smallest_s = std::min(statistics.smallest_s, Ago(i).smallest);
    statistics.largest_s = std::max(statistics.largest_s, Ago(i).largest);
  }
  AddDrift(statistics);
  return statistics;
}

const SensorClock::Second& SensorClock::Ago(std::size_t seconds) const {
  return seconds_[(next_ + kKept - 1 - seconds) % kKept];
}

/// Least squares over the complete seconds: the present one may still find a smaller offset, the
/// first one has begun within.
void SensorClock::AddDrift(ClockStatistics& statistics) const {
  if (filled_ < kEnoughForDrift + 2) return;
  const std::size_t count = filled_ - 2;
  const auto seconds_ago = [this](std::size_t i) {
    return static_cast<double>(Ago(0).number - Ago(i).number);
  };
  double mean_x = 0.0;
  double mean_y = 0.0;
  for (std::size_t i = 1; i <= count; ++i) {
    mean_x += seconds_ago(i) / static_cast<double>(count);
    mean_y += Ago(i).smallest / static_cast<double>(count);
  }
  double xy = 0.0;
  double xx = 0.0;
  for (std::size_t i = 1; i <= count; ++i) {
    const double x = seconds_ago(i) - mean_x;
    xy += x * (Ago(i).smallest - mean_y);
    xx += x * x;
  }
  statistics.drift_ppm = -xy / xx * 1e6;  // x counts backwards
  statistics.drift_over_s = seconds_ago(count) - seconds_ago(1) + 1.0;
}

}  // namespace orliq::lidar
