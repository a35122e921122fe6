// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <type_traits>

namespace orliq::lidar {

/// The narrowest unsigned integer that holds N bytes.
template <std::size_t N>
using UnsignedOf = std::conditional_t<N == 1, std::uint8_t,
                                      std::conditional_t<N == 2, std::uint16_t, std::uint32_t>>;

/// Little-endian integer of N bytes as it stands in a packet: alignment 1, any host byte order.
/// Wire structs are made of these, in wire order, and read like plain integers. Signed values name
/// their type: `Le<2, std::int16_t>`.
template <std::size_t N, typename T = UnsignedOf<N>>
struct Le {
  static_assert(N >= 1 && N <= sizeof(T) && sizeof(T) <= 4);
  std::uint8_t bytes[N];

  constexpr operator T() const {  // implicit: reads like an integer
    std::uint32_t value = bytes[0];
    // The first two bytes as a number of their own: compilers make one load of them.
    if constexpr (N >= 2) value = static_cast<std::uint16_t>(bytes[0] | bytes[1] << 8);
    for (std::size_t i = 2; i < N; ++i) value |= static_cast<std::uint32_t>(bytes[i]) << (8 * i);
    return static_cast<T>(value);
  }

  constexpr void Set(T value) {
    for (std::size_t i = 0; i < N; ++i) {
      bytes[i] = static_cast<std::uint8_t>(static_cast<std::uint32_t>(value) >> (8 * i));
    }
  }
};

/// Big-endian integer of N bytes, otherwise as Le.
template <std::size_t N, typename T = UnsignedOf<N>>
struct Be {
  static_assert(N >= 1 && N <= sizeof(T) && sizeof(T) <= 4);
  std::uint8_t bytes[N];

  constexpr operator T() const {  // implicit: reads like an integer
    std::uint32_t value = 0;
    for (const std::uint8_t byte : bytes) value = value << 8 | byte;
    return static_cast<T>(value);
  }
};

/// The bytes of a packet as its wire struct, in place: a copy would cost a tenth of the decoding.
/// Wire structs are bytes throughout, so they may stand anywhere and may look at any bytes. Null for
/// no packet, or one that is too short.
template <typename Msop>
const Msop* PacketAs(const std::uint8_t* pkt, std::size_t size) {
  static_assert(alignof(Msop) == 1 && std::is_trivially_copyable_v<Msop>);
  return size < sizeof(Msop) ? nullptr : reinterpret_cast<const Msop*>(pkt);
}

}  // namespace orliq::lidar
