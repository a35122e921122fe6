// SPDX-License-Identifier: Apache-2.0
#include "bench/PlainJuniq.h"

#include <cmath>
#include <cstring>

namespace orliq::bench {
namespace {

std::uint32_t Load16(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0] | p[1] << 8);
}
std::uint32_t Load24(const std::uint8_t* p) {
  return static_cast<std::uint32_t>(p[0] | p[1] << 8 | p[2] << 16);
}

}  // namespace

bool PlainJuniq::Decode(const std::uint8_t* pkt, std::vector<Point>& points) const {
  float nf[lidar::kNearFilters];
  float w[lidar::kWeights];
  std::memcpy(nf, &check_.near_filter, sizeof nf);
  std::memcpy(w, &check_.weight, sizeof w);
  bool marker = false;
  for (const std::uint8_t* b = pkt + 25; b != pkt + 25 + 64 * 16; b += 16) {
    marker |= b[0] == 0x7F && b[1] == 0xBF;
    const std::uint32_t index = b[0] + 256U * b[1];
    const std::uint32_t width = Load24(b + 12);
    Point p;
    p.intensity = static_cast<std::uint16_t>(width);
    p.ring = b[1];
    const float v = static_cast<float>(Load24(b + 6)) * 0.015625F;
    float d = static_cast<float>(static_cast<double>(v) * 1.645F - 2.09F) * 0.14989623F;
    if (index < lidar::kBeamPositions) d -= check_.offset[index];
    if (d > 0) {
      int az = 0;
      int el = 0;
      if (index < lidar::kBeamPositions) {
        az = static_cast<int>(check_.azimuth[index] * -100.0);
        el = static_cast<int>(check_.elevation[index] * 100.0);
      }
      const float r = static_cast<float>(width) / static_cast<float>(Load16(b + 2));
      const double c = static_cast<double>(w[2] * r * r) + static_cast<double>(w[0] * r) +
                       static_cast<double>(w[1] * d) + static_cast<double>(w[3]);
      d = static_cast<float>(d - c) - (b[0] < 128 ? nf[8] : nf[7]);
      if (nf[1] != 0) {
        const auto peak = static_cast<float>(Load24(b + 9));
        if (d < nf[3]) {
          if (peak < nf[2]) d = 0;
        } else if (d < nf[1] && peak < std::fabs(d - nf[1]) / nf[1] * nf[0]) {
          d = 0;
        }
      }
      const auto az_deg = static_cast<float>(az * 0.01);
      const auto el_deg = static_cast<float>(el * 0.01);
      if (gates_.min_azimuth <= az_deg && az_deg <= gates_.max_azimuth &&
          gates_.min_elevation <= el_deg && el_deg <= gates_.max_elevation &&
          gates_.min_distance <= d && d <= gates_.max_distance) {
        const float horizontal = d * trigon_.Cos(el);
        p.x = std::fabs(horizontal * trigon_.Cos(az));
        p.y = std::fabs(horizontal) * trigon_.Sin(az);
        p.z = d * trigon_.Sin(el);
      }
    }
    points.push_back(p);
  }
  return marker;
}

}  // namespace orliq::bench
