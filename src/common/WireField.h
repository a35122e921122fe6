// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

namespace orliq::lidar {

/// The little-endian 32-bit word number `kIndex` of a record.
template <std::size_t kIndex>
inline std::uint32_t WireWord(const std::uint8_t* record) {
  std::uint32_t word = 0;
  std::memcpy(&word, record + 4 * kIndex, sizeof word);
#if __BYTE_ORDER__ == __ORDER_BIG_ENDIAN__
  word = __builtin_bswap32(word);
#endif
  return word;
}

/// The field of `kBytes` bytes, at most three, that begins at byte `kAt` of a wire struct: what the
/// struct's own Le tells, cut out of whole words, which a loop over many structs loads in vectors. The
/// words must lie in the struct: `WireField<offsetof(Block, tof), sizeof(Block::tof)>(bytes)`.
template <std::size_t kAt, std::size_t kBytes>
inline std::int32_t WireField(const std::uint8_t* record) {
  static_assert(kBytes >= 1 && kBytes <= 3);
  constexpr std::size_t kWord = kAt / 4;
  constexpr std::size_t kSkipped = kAt % 4;
  std::uint32_t value = WireWord<kWord>(record) >> (8 * kSkipped);
  if constexpr (kSkipped + kBytes > 4) {
    value |= WireWord<kWord + 1>(record) << (8 * (4 - kSkipped));
  }
  return static_cast<std::int32_t>(value & ((1U << (8 * kBytes)) - 1));
}

}  // namespace orliq::lidar
