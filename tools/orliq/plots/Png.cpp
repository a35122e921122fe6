// SPDX-License-Identifier: Apache-2.0
#include "orliq/plots/Png.h"

#include <algorithm>

namespace orliq::cli {
namespace {

constexpr std::size_t kStoredBytes = 65535;  // in a block of stored data, at most

std::string BigEndian(std::uint32_t number) {
  std::string bytes;
  for (int shift = 24; shift >= 0; shift -= 8) bytes += static_cast<char>(number >> shift);
  return bytes;
}

std::string LittleEndian16(std::size_t number) {
  return {static_cast<char>(number), static_cast<char>(number >> 8U)};
}

std::uint32_t Crc(const std::string& bytes) {
  std::uint32_t crc = 0xFFFFFFFF;
  for (const char byte : bytes) {
    crc ^= static_cast<std::uint8_t>(byte);
    for (int bit = 0; bit < 8; ++bit) crc = (crc >> 1U) ^ ((crc & 1U) != 0 ? 0xEDB88320U : 0U);
  }
  return ~crc;
}

std::uint32_t Adler(const std::string& bytes) {
  std::uint32_t a = 1, b = 0;
  for (const char byte : bytes) {
    a = (a + static_cast<std::uint8_t>(byte)) % 65521;
    b = (b + a) % 65521;
  }
  return b << 16U | a;
}

std::string Chunk(const std::string& type, const std::string& data) {
  return BigEndian(static_cast<std::uint32_t>(data.size())) + type + data +
         BigEndian(Crc(type + data));
}

/// A zlib stream that holds the bytes as they are.
std::string Stored(const std::string& bytes) {
  std::string stream = "\x78\x01";
  for (std::size_t at = 0; at < bytes.size(); at += kStoredBytes) {
    const std::size_t size = std::min(kStoredBytes, bytes.size() - at);
    stream += static_cast<char>(at + size == bytes.size());  // the last block
    stream += LittleEndian16(size) + LittleEndian16(~size);
    stream.append(bytes, at, size);
  }
  return stream + BigEndian(Adler(bytes));
}

}  // namespace

std::string IndexedPng(std::size_t width, const std::vector<std::uint8_t>& pixels,
                       const Palette& palette) {
  const std::size_t height = pixels.size() / width;
  std::string rows;
  for (std::size_t row = 0; row < height; ++row) {
    rows += '\0';  // as it is, no filter
    for (std::size_t i = 0; i < width; ++i) rows += static_cast<char>(pixels[row * width + i]);
  }
  std::string colours;
  for (const Colour& colour : palette) colours.append(colour.begin(), colour.end());
  const std::string header = BigEndian(static_cast<std::uint32_t>(width)) +
                             BigEndian(static_cast<std::uint32_t>(height)) +
                             std::string{8, 3, 0, 0, 0};  // 8 bits, palette
  return "\x89PNG\r\n\x1A\n" + Chunk("IHDR", header) + Chunk("PLTE", colours) +
         Chunk("IDAT", Stored(rows)) + Chunk("IEND", "");
}

}  // namespace orliq::cli
