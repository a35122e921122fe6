// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <vector>

#include "bench/plain/PlainFields.h"
#include "param/CheckParam.h"

namespace orliq::bench {

/// A Kelvane packet decoded by one plain loop over its records.
template <typename P>
class PlainKelvane {
 public:
  PlainKelvane(const lidar::CheckParam& /*no tables*/, const lidar::DecoderParam& limits)
      : limits_(limits) {}

  /// Every record is decoded, whatever `start`.
  void Decode(const std::uint8_t* pkt, std::size_t start, std::vector<P>& points) const;

 private:
  lidar::DecoderParam limits_;
  lidar::Trigon trigon_;
};

template <typename P>
void PlainKelvane<P>::Decode(const std::uint8_t* pkt, std::size_t /*start*/,
                             std::vector<P>& points) const {
  constexpr int kFaces[] = {0, -2, 2, 3};  // [0.01 deg]
  if ((pkt[26] & 2) != 0) return;
  const std::uint32_t index = (Load16BigEndian(pkt + 4) - 1) & 0xFFFF;
  const int az = static_cast<std::int16_t>(Load16BigEndian(pkt + 24));
  const float sin_az = trigon_.Sin(Held(az));
  const float cos_az = trigon_.Cos(Held(az));
  const int face = pkt[27] >= 1 && pkt[27] <= 4 ? kFaces[pkt[27] - 1] : 0;
  for (std::uint32_t j = 0; j < 260; ++j) {
    const std::uint8_t* const s = pkt + 32 + 4 * j;
    const std::uint32_t column = pkt[8] != 0 ? index % 2 * 260 + j : (index % 4 * 260 + j) / 2;
    const auto d = static_cast<float>(Load16BigEndian(s) * 0.005);
    const int el = -1300 + 5 * static_cast<int>(column) + face;
    if (!Inside(limits_, az, el, d)) continue;
    const float horizontal = d * trigon_.Cos(el);
    P& p = points.emplace_back();
    p.x = horizontal * cos_az;
    p.y = horizontal * sin_az;
    p.z = d * trigon_.Sin(el);
    p.intensity = s[2];
    p.ring = static_cast<std::uint16_t>(column);
    SetTime(p, 0.0);
  }
}

}  // namespace orliq::bench
