// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "bench/plain/PlainPulse.h"

namespace orliq::bench {

/// A Glavor packet decoded by one plain loop over its blocks.
template <typename P>
class PlainGlavor {
 public:
  PlainGlavor(const lidar::AngleCheckParam& check, const lidar::DecoderParam& limits)
      : check_(check), limits_(limits) {}

  void Decode(const std::uint8_t* pkt, std::size_t start, std::vector<P>& points);

 private:
  const lidar::AngleCheckParam& check_;
  lidar::DecoderParam limits_;
  lidar::Trigon trigon_;
};

template <typename P>
void PlainGlavor<P>::Decode(const std::uint8_t* pkt, std::size_t start, std::vector<P>& points) {
  const PulseVectors v(check_);
  for (std::size_t k = start; k < 32; ++k) {
    const std::uint8_t* const b = pkt + 25 + 40 * k;
    const std::uint32_t index = b[0] + 256U * b[1];
    const std::uint32_t peak = Load24(b + 12);
    int az = 0;
    int el = 0;
    if (index < lidar::kBeamPositions) {
      az = Truncate(check_.azimuth[index] * -100.0);
      el = Truncate(check_.elevation[index] * 100.0);
    } else {
      az = static_cast<int>(6000.0 - b[0] * 47.05882353);
      el = static_cast<int>(4500.0 - b[1] * 47.120419);
    }
    const float r = static_cast<float>(Load24(b + 18)) / static_cast<float>(Load16(b + 2));
    const float d = WithoutNoise(Corrected(RangeOf(Load24(b + 9), 0.15F), r, v.w), peak, v.nf);
    P& p = points.emplace_back();
    p.intensity = static_cast<std::uint16_t>(peak);
    p.ring = b[1];
    SetTime(p, 0.0);
    SetRange(p, d);
    if (Inside(limits_, az, el, d)) LocateAhead(p, d, az, el, trigon_);
  }
}

}  // namespace orliq::bench
