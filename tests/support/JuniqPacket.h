// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

#include "support/PacketBytes.h"

namespace orliq::test {

/// One return as a test states it. The defaults measure about 24 m with full strength.
struct JuniqReturn {
  unsigned column = 20;
  unsigned row = 10;
  unsigned tof = 6400;
  unsigned width = 3000;
  unsigned width_ref = 1500;
  unsigned peak = 100000;
  unsigned aux = 0;
};

constexpr JuniqReturn kMarker{0x7F, 0xBF};

class JuniqPacket : public PacketBytes<1104, JuniqPacket> {
 public:
  explicit JuniqPacket(const JuniqReturn& everywhere = {}) {
    for (std::size_t i = 0; i < 64; ++i) Block(i, everywhere);
    Time(2024, 2, 29, 23, 59, 58, 250000);
  }

  JuniqPacket& Block(std::size_t index, const JuniqReturn& r) {
    const std::size_t at = 25 + 16 * index;
    Put(at, 1, r.column).Put(at + 1, 1, r.row).Put(at + 2, 2, r.width_ref).Put(at + 4, 2, r.aux);
    return Put(at + 6, 3, r.tof).Put(at + 9, 3, r.peak).Put(at + 12, 3, r.width);
  }
  JuniqPacket& Time(unsigned year, unsigned month, unsigned day, unsigned hour, unsigned minute,
                    unsigned second, unsigned microsecond) {
    Put(1078, 3, microsecond).Put(1081, 2, year).Put(1083, 1, month).Put(1084, 1, day);
    return Put(1085, 1, hour).Put(1086, 1, minute).Second(second);
  }
  JuniqPacket& Second(unsigned second) { return Put(1087, 1, second); }
  JuniqPacket& Imu(const std::array<int, 6>& w, unsigned stamp) {
    for (std::size_t i = 0; i < 6; ++i) Put(1065 + 2 * i, 2, static_cast<unsigned>(w[i]));
    return Put(1092, 3, stamp);
  }
  JuniqPacket& Header(unsigned word, unsigned temperature_a, unsigned temperature_b,
                      unsigned status) {
    Put(1059, 2, word).Put(1061, 2, temperature_a).Put(1063, 2, temperature_b);
    return Put(1077, 1, status);
  }
};

}  // namespace orliq::test
