// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <string>

#include "multi_driver/DriverParam.h"

namespace orliq::cli {

/// What tells a sensor model's packets from others, and what playing them takes.
struct Model {
  const char* name;
  lidar::LidarType type;
  std::size_t packet_bytes;      ///< UDP payload of every packet
  std::size_t identifier_bytes;  ///< leading bytes that are compared
  std::array<std::uint8_t, 8> identifier;
  bool needs_check_folder;  ///< points have no direction without calibration tables
  bool decodable;           ///< this version turns the packets into points
};

constexpr std::size_t kModels = 7;
using ModelTable = std::array<Model, kModels>;

/// All known models. Some share length and identifier: their packets cannot be told apart.
const ModelTable& Models();

/// Null for an unknown name.
const Model* FindModel(const std::string& name);

/// "juniq, glavor, ..."; only the decodable ones when asked for.
std::string ModelNames(bool decodable_only = false);

/// Whether the driver of `model` accepts this payload.
bool Fits(const Model& model, const std::uint8_t* payload, std::size_t size);

/// "EE FF 01", as identifiers are shown to the user.
std::string HexBytes(const std::uint8_t* bytes, std::size_t size);

}  // namespace orliq::cli
