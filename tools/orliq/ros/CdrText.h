// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <fastcdr/Cdr.h>

#include <array>
#include <cstdint>
#include <cstring>
#include <string>

#include "orliq/ros/RosTypes.h"

namespace orliq::cli {

/// A message that is being written.
class CdrText {
 public:
  CdrText()
      : cdr_(buffer_, eprosima::fastcdr::Cdr::LITTLE_ENDIANNESS, eprosima::fastcdr::Cdr::DDS_CDR) {
    cdr_.serialize_encapsulation();
  }

  template <typename Value>
  CdrText& operator<<(const Value& value) {
    const std::size_t end = cdr_.getSerializedDataLength();
    cdr_.serialize(value);
    // The library leaves what the memory held where it skips to a multiple of the number's size.
    const std::size_t skipped = (kHead - end) % Alignment(value);
    std::memset(buffer_.getBuffer() + end, 0, skipped);
    return *this;
  }

  CdrText& operator<<(const RosTime& time) { return *this << time.seconds << time.nanoseconds; }
  CdrText& operator<<(const RosHeader& header) { return *this << header.stamp << header.frame; }

  /// How many elements of a sequence follow.
  CdrText& Sequence(std::size_t elements) { return *this << static_cast<std::uint32_t>(elements); }

  /// What has been written so far.
  std::string Bytes() { return {buffer_.getBuffer(), cdr_.getSerializedDataLength()}; }

 private:
  static constexpr std::size_t kHead = 4;  // [bytes] ahead of where the multiples count from

  template <typename Number>
  static constexpr std::size_t Alignment(const Number&) {
    return sizeof(Number);
  }
  template <typename Number, std::size_t N>
  static constexpr std::size_t Alignment(const std::array<Number, N>&) {
    return sizeof(Number);
  }
  static constexpr std::size_t Alignment(const std::string&) { return sizeof(std::uint32_t); }

  eprosima::fastcdr::FastBuffer buffer_;
  eprosima::fastcdr::Cdr cdr_;
};

}  // namespace orliq::cli
