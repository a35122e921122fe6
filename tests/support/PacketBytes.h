// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace orliq::test {

/// A packet of N bytes that is written field by field, by the sensor's own table of offsets. `Packet`
/// derives from it, so that calls can be chained. Needs no memory of its own.
template <std::size_t N, typename Packet>
class PacketBytes {
 public:
  /// The lowest `width` bytes of `value`, the least one first.
  Packet& Put(std::size_t at, std::size_t width, unsigned value) {
    for (std::size_t i = 0; i < width; ++i) {
      bytes_.at(at + i) = static_cast<std::uint8_t>(value >> (8 * i));
    }
    return static_cast<Packet&>(*this);
  }
  /// The same, the least one last.
  Packet& PutBig(std::size_t at, std::size_t width, unsigned value) {
    for (std::size_t i = 0; i < width; ++i) Put(at + i, 1, value >> (8 * (width - 1 - i)));
    return static_cast<Packet&>(*this);
  }

  const std::uint8_t* data() const { return bytes_.data(); }
  std::size_t size() const { return bytes_.size(); }
  std::vector<std::uint8_t> payload() const { return {bytes_.begin(), bytes_.end()}; }

 protected:
  PacketBytes() : bytes_{0xEE, 0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF} {}

 private:
  std::array<std::uint8_t, N> bytes_;
};

}  // namespace orliq::test
