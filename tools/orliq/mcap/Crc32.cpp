// SPDX-License-Identifier: Apache-2.0
#include "orliq/mcap/Crc32.h"

#include <array>
#include <cstring>

namespace orliq::cli {
namespace {

constexpr std::uint32_t kPolynomial = 0xEDB88320;  // reflected
constexpr std::size_t kSlices = 16;                // [bytes] taken in one step

using Table = std::array<std::uint32_t, 256>;

constexpr std::array<Table, kSlices> MakeTables() {
  std::array<Table, kSlices> tables = {};
  for (std::uint32_t byte = 0; byte < 256; ++byte) {
    std::uint32_t sum = byte;
    for (int bit = 0; bit < 8; ++bit) sum = (sum >> 1U) ^ ((sum & 1U) != 0 ? kPolynomial : 0U);
    tables[0][byte] = sum;
  }
  for (std::size_t slice = 1; slice < kSlices; ++slice) {
    for (std::size_t byte = 0; byte < 256; ++byte) {
      const std::uint32_t sum = tables[slice - 1][byte];
      tables[slice][byte] = (sum >> 8U) ^ tables[0][sum & 0xFFU];
    }
  }
  return tables;
}
constexpr std::array<Table, kSlices> kTables = MakeTables();

/// Of a step whose first four bytes are in `sum` already: byte i has kSlices - 1 - i bytes behind it.
std::uint32_t Step(std::uint32_t sum, const std::uint8_t* bytes) {
  std::uint32_t next = 0;
  for (std::size_t i = 0; i < 4; ++i) {
    const std::size_t byte = (sum >> 8 * i & 0xFFU) ^ bytes[i];
    next ^= kTables[kSlices - 1 - i][byte];
  }
  for (std::size_t i = 4; i < kSlices; ++i) next ^= kTables[kSlices - 1 - i][bytes[i]];
  return next;
}

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
  const auto* next = static_cast<const std::uint8_t*>(bytes);
  std::uint32_t sum = ~before;
  for (; size >= kSlices; size -= kSlices, next += kSlices) sum = Step(sum, next);
  for (; size > 0; --size) sum = (sum >> 8U) ^ kTables[0][(sum ^ *next++) & 0xFFU];
  return ~sum;
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
