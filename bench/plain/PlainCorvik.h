// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cmath>
#include <vector>

#include "bench/plain/PlainFields.h"
#include "param/CheckParam.h"

namespace orliq::bench {

/// A Corvik packet decoded by one plain loop over its samples.
template <typename P>
class PlainCorvik {
 public:
  PlainCorvik(const lidar::CheckParam& /*no tables*/, const lidar::DecoderParam& limits)
      : limits_(limits) {}

  void Decode(const std::uint8_t* pkt, std::size_t start, std::vector<P>& points) const;

 private:
  lidar::DecoderParam limits_;
  lidar::Trigon trigon_;
};

template <typename P>
void PlainCorvik<P>::Decode(const std::uint8_t* pkt, std::size_t start,
                            std::vector<P>& points) const {
  const double time = LoadTime<P>(pkt + 1210);
  const int el = -static_cast<int>(pkt[24] * 53.5714286 - 1500.0);
  const float sin_el = trigon_.Sin(el);  // -121.61 to 15.00 deg: within the tables
  const float cos_el = trigon_.Cos(el);
  for (std::size_t k = start; k < 192; ++k) {
    const std::uint8_t* const s = pkt + 28 + 6 * k;
    const int az = static_cast<int>(6000.0 - static_cast<double>(k) * 62.5);
    auto d = static_cast<float>(Load16(s + 2) * 0.009375 + -2.0);
    if (d < 0) d = 0;
    P& p = points.emplace_back();
    p.intensity = static_cast<std::uint16_t>(Load16(s) & 0x0FFF);
    p.ring = pkt[24];
    SetTime(p, time);
    if (Inside(limits_, az, el, d)) {
      p.x = std::fabs(d * cos_el * trigon_.Cos(az));
      p.y = trigon_.Sin(az) * std::fabs(d * cos_el);
      p.z = d * sin_el;
    }
  }
}

}  // namespace orliq::bench
