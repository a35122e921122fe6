// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <vector>

namespace orliq::test {

/// The bytes of a sensor's packet, written by offsets. A model's packet derives from it. Needs no
/// memory of its own.
class WirePacket {
 public:
  explicit WirePacket(std::size_t size) : size_(size) {}

  /// The lowest `width` bytes of `value`, the least one first.
  WirePacket& Put(std::size_t at, std::size_t width, unsigned value) {
    for (std::size_t i = 0; i < width; ++i) {
      bytes_.at(at + i) = static_cast<std::uint8_t>(value >> (8 * i));
    }
    return *this;
  }

  const std::uint8_t* data() const { return bytes_.data(); }
  std::size_t size() const { return size_; }
  std::vector<std::uint8_t> payload() const { return {data(), data() + size()}; }

 protected:
  void Identifier(std::initializer_list<std::uint8_t> identifier) {
    std::copy(identifier.begin(), identifier.end(), bytes_.begin());
  }

 private:
  std::array<std::uint8_t, 1360> bytes_ = {};  // the longest packet of all models
  std::size_t size_;
};

}  // namespace orliq::test
