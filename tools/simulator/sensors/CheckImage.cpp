// SPDX-License-Identifier: Apache-2.0
#include "simulator/sensors/CheckImage.h"

#include <cstring>
#include <utility>

#include "simulator/sensors/ByteWriter.h"

namespace orliq::sim {
namespace {

constexpr std::pair<const char*, char> kLetters[] = {
    {"azimuth", 'A'}, {"elevation", 'B'}, {"weight", 'C'}, {"near_filter", 'D'}, {"offset", 'E'}};
constexpr std::size_t kMarkerBytes = 4;

static_assert(sizeof(float) == sizeof(std::uint32_t), "IEEE 754 single precision");

std::uint32_t Bits(float value) {
  std::uint32_t bits = 0;
  std::memcpy(&bits, &value, sizeof bits);
  return bits;
}

}  // namespace

std::vector<std::uint8_t> CheckImage(const std::vector<CheckTable>& tables) {
  std::vector<std::uint8_t> image;
  ByteWriter writer(image, ByteWriter::Order::Little);
  for (const auto& [word, letter] : kLetters) {
    for (const CheckTable& table : tables) {
      if (table.word != word) continue;
      writer.Bytes(std::vector<char>(kMarkerBytes, letter));
      for (const float value : table.values) writer.U32(Bits(value));
    }
  }
  return image;
}

}  // namespace orliq::sim
