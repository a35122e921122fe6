// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>

// The check sum of MCAP, and of many other formats: CRC-32 with the polynomial 0x04C11DB7, reflected.
// Safe from any thread.
namespace orliq::cli {

/// Of bytes that follow those whose sum is `before`; 0 of no bytes.
std::uint32_t Crc32(const void* bytes, std::size_t size, std::uint32_t before = 0);

/// Of two pieces one behind the other, the second of `second_bytes`, without reading them again.
std::uint32_t JoinCrc32(std::uint32_t first, std::uint32_t second, std::uint64_t second_bytes);

}  // namespace orliq::cli
