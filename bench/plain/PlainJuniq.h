// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "bench/plain/PlainPulse.h"

namespace orliq::bench {

/// A Juniq packet decoded by one plain loop over its blocks.
template <typename P>
class PlainJuniq {
 public:
  PlainJuniq(const lidar::OffsetCheckParam& check, const lidar::DecoderParam& limits)
      : check_(check), limits_(limits) {}

  void Decode(const std::uint8_t* pkt, std::size_t start, std::vector<P>& points);

 private:
  const lidar::OffsetCheckParam& check_;
  lidar::DecoderParam limits_;
  lidar::Trigon trigon_;
  double group_time_ = 0.0;
  unsigned group_blocks_ = 0;
};

template <typename P>
void PlainJuniq<P>::Decode(const std::uint8_t* pkt, std::size_t start, std::vector<P>& points) {
  const PulseVectors v(check_);
  const double time = LoadTime<P>(pkt + 1078);
  if (group_time_ == 0) group_time_ = time;
  bool marker = false;
  for (std::size_t k = start; k < 64; ++k) {
    const std::uint8_t* const b = pkt + 25 + 16 * k;
    marker |= b[0] == 0x7F && b[1] == 0xBF;
    const std::uint32_t index = b[0] + 256U * b[1];
    const std::uint32_t peak = Load24(b + 9);
    const std::uint32_t width = Load24(b + 12);
    P& p = points.emplace_back();
    p.intensity = static_cast<std::uint16_t>(width);
    p.ring = b[1];
    SetTime(p, group_time_);
    if constexpr (std::is_same_v<P, JuniqPoint>) {
      p.row = b[1];
      p.column = b[0];
      p.aux = static_cast<std::uint16_t>(Load16(b + 4));
      p.width_ref = static_cast<std::uint16_t>(Load16(b + 2));
      p.peak = peak;
      p.tof = Load24(b + 6);
      p.width = width;
    }
    float d = RangeOf(Load24(b + 6), 0.14989623F);
    if (index < lidar::kBeamPositions) d -= check_.offset[index];
    if (!(d <= 0)) {  // else nothing was measured
      int az = 0;
      int el = 0;
      if (index < lidar::kBeamPositions) {
        az = Truncate(check_.azimuth[index] * -100.0);
        el = Truncate(check_.elevation[index] * 100.0);
      }
      const float r = static_cast<float>(width) / static_cast<float>(Load16(b + 2));
      d = Corrected(d, r, v.w) - (b[0] < 128 ? v.nf[8] : v.nf[7]);
      d = WithoutNoise(d, peak, v.nf);
      SetRange(p, d);
      if (Inside(limits_, az, el, d)) LocateAhead(p, d, az, el, trigon_);
    }
    if (++group_blocks_ == 256) {
      group_blocks_ = 0;
      group_time_ = time;
    }
  }
  if (marker) group_time_ = 0;
}

}  // namespace orliq::bench
