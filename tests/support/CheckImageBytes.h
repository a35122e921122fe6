// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace orliq::test {

using Bytes = std::vector<std::uint8_t>;

/// The lowest four bytes of `value`, the least one first.
inline void PutWord(Bytes& bytes, std::size_t at, std::uint32_t value) {
  for (std::size_t i = 0; i < 4; ++i) bytes.at(at + i) = static_cast<std::uint8_t>(value >> 8 * i);
}

/// A sensor's reply with that payload: "ZZZZ", the size it tells of the whole image plus 32, and what
/// means nothing up to byte 36 and behind the payload.
inline Bytes Reply(std::uint32_t total_field, const Bytes& payload) {
  Bytes reply(36 + payload.size() + 3, 'Z');
  PutWord(reply, 4, total_field);
  std::copy(payload.begin(), payload.end(), reply.begin() + 36);
  return reply;
}

/// A marker and bytes behind it, which tell by their content where they stand.
inline Bytes Piece(const std::string& marker, std::size_t size) {
  Bytes piece(marker.begin(), marker.end());
  for (std::size_t i = 0; i < size; ++i) {
    piece.push_back(static_cast<std::uint8_t>(0x80U | (i * 31 + marker[0]) % 127));
  }
  return piece;
}

inline Bytes operator+(Bytes a, const Bytes& b) {
  a.insert(a.end(), b.begin(), b.end());
  return a;
}

}  // namespace orliq::test
