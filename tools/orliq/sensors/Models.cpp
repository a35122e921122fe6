// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/Models.h"

#include <algorithm>

namespace orliq::cli {
namespace {

using lidar::LidarType;
using Identifier = std::array<std::uint8_t, 8>;

constexpr Identifier kCommon = {0xEE, 0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF};
constexpr Identifier kKelvane = {0x55, 0xAA, 0x5A, 0xA5};

// name, type, packet bytes, identifier, needs check folder, decodable
constexpr ModelTable kTable = {{
    {"juniq", LidarType::Juniq, 1104, 8, kCommon, true, true},
    {"glavor", LidarType::Glavor, 1360, 8, kCommon, true, false},
    {"fennix", LidarType::Fennix, 1360, 8, kCommon, true, false},
    {"corvik", LidarType::Corvik, 1236, 8, kCommon, false, false},
    {"brantis", LidarType::Brantis, 1236, 8, kCommon, false, false},
    {"hestra", LidarType::Hestra, 1236, 8, kCommon, true, false},
    {"kelvane", LidarType::Kelvane, 1084, 4, kKelvane, false, false},
}};

}  // namespace

const ModelTable& Models() {
  return kTable;
}

const Model* FindModel(const std::string& name) {
  const auto* const found = std::find_if(kTable.begin(), kTable.end(),
                                         [&](const Model& model) { return name == model.name; });
  return found == kTable.end() ? nullptr : found;
}

std::string ModelNames(bool decodable_only) {
  std::string names;
  for (const Model& model : kTable) {
    if (decodable_only && !model.decodable) continue;
    names += (names.empty() ? "" : ", ") + std::string(model.name);
  }
  return names;
}

bool Fits(const Model& model, const std::uint8_t* payload, std::size_t size) {
  return size == model.packet_bytes &&
         std::equal(payload, payload + model.identifier_bytes, model.identifier.begin());
}

std::string HexBytes(const std::uint8_t* bytes, std::size_t size) {
  static constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (std::size_t i = 0; i < size; ++i) {
    if (i > 0) text += ' ';
    text += kDigits[bytes[i] >> 4U];
    text += kDigits[bytes[i] & 0x0FU];
  }
  return text;
}

}  // namespace orliq::cli
