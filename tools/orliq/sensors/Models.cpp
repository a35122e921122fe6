// SPDX-License-Identifier: Apache-2.0
#include "orliq/sensors/Models.h"

#include <algorithm>

namespace orliq::cli {

std::string ModelNames(bool decodable_only) {
  std::string names;
  for (const Model& model : lidar::SensorModels()) {
    if (decodable_only && !model.decodes_points) continue;
    names += (names.empty() ? "" : ", ") + std::string(model.name);
  }
  return names;
}

std::size_t ModelIndex(const Model& model) {
  return static_cast<std::size_t>(&model - lidar::SensorModels().data());
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
