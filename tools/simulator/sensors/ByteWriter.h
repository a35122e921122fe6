// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace orliq::sim {

/// Appends unsigned integers of any width to a byte list, in wire order and in the byte order asked
/// for. A packet is written as a page of fields in the order they leave the sensor.
class ByteWriter {
 public:
  enum class Order { Little, Big };

  /// `bytes` stays the caller's and must outlive the writer.
  ByteWriter(std::vector<std::uint8_t>& bytes, Order order) : bytes_(bytes), order_(order) {}

  /// The lowest `width` bytes (1 to 4) of `value`.
  ByteWriter& Put(std::uint32_t value, std::size_t width) {
    for (std::size_t i = 0; i < width; ++i) {
      const std::size_t byte = order_ == Order::Little ? i : width - 1 - i;
      bytes_.push_back(static_cast<std::uint8_t>(value >> (8 * byte)));
    }
    return *this;
  }

  ByteWriter& U8(std::uint32_t value) { return Put(value, 1); }
  ByteWriter& U16(std::uint32_t value) { return Put(value, 2); }
  ByteWriter& U24(std::uint32_t value) { return Put(value, 3); }
  ByteWriter& U32(std::uint32_t value) { return Put(value, 4); }
  ByteWriter& I16(std::int16_t value) { return Put(static_cast<std::uint16_t>(value), 2); }

  ByteWriter& Zeros(std::size_t count) {
    bytes_.insert(bytes_.end(), count, std::uint8_t{0});
    return *this;
  }

  template <class Container>
  ByteWriter& Bytes(const Container& source) {
    bytes_.insert(bytes_.end(), source.begin(), source.end());
    return *this;
  }

 private:
  std::vector<std::uint8_t>& bytes_;
  Order order_;
};

}  // namespace orliq::sim
