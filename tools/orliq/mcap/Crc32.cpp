// SPDX-License-Identifier: Apache-2.0
#include "orliq/mcap/Crc32.h"

#ifdef ORLIQ_HAS_DEFLATE
#include <libdeflate.h>
#endif

namespace orliq::cli {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;  // reflected

/// The product of two polynomials, modulo the one above; the highest bit is that of x^0.
std::uint32_t Product(std::uint32_t a, std::uint32_t b) {
  std::uint32_t product = 0;
  for (std::uint32_t bit = 0x80000000U; bit != 0; bit >>= 1U) {
    if ((a & bit) != 0) product ^= b;
    b = (b >> 1U) ^ ((b & 1U) != 0 ? kPolynomial : 0U);
  }
  return product;
}

}  // namespace

std::uint32_t Crc32(const void* bytes, std::size_t size, std::uint32_t before) {
#ifdef ORLIQ_HAS_DEFLATE
  // The library takes a null pointer for the begin of a sum, whatever stands before.
  return size == 0 ? before : libdeflate_crc32(before, bytes, size);
#else
  // The same, bit by bit: far slower.
  std::uint32_t rest = ~before;
  const auto* byte = static_cast<const unsigned char*>(bytes);
  for (; size > 0; --size, ++byte) {
    rest ^= *byte;
    for (int bit = 0; bit < 8; ++bit) rest = (rest >> 1U) ^ ((rest & 1U) != 0 ? kPolynomial : 0U);
  }
  return ~rest;
#endif
}

std::uint32_t JoinCrc32(std::uint32_t first, std::uint32_t second, std::uint64_t second_bytes) {
  // Each byte behind the first piece multiplies its sum by x^8; squaring makes x^16, x^32 and so on.
  std::uint32_t power = 0x00800000U;
  for (; second_bytes != 0; second_bytes >>= 1U, power = Product(power, power)) {
    if ((second_bytes & 1U) != 0) first = Product(power, first);
  }
  return first ^ second;
}

}  // namespace orliq::cli
