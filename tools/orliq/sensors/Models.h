// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "multi_driver/SensorModels.h"

namespace orliq::cli {

using Model = lidar::SensorModel;

/// "juniq, glavor, ..."; only those whose packets become points when asked for.
std::string ModelNames(bool decodable_only = false);

/// The place of a model of the list in it.
std::size_t ModelIndex(const Model& model);

/// Whether the driver of `model` accepts this payload.
bool Fits(const Model& model, const std::uint8_t* payload, std::size_t size);

/// "EE FF 01", as identifiers are shown to the user.
std::string HexBytes(const std::uint8_t* bytes, std::size_t size);

}  // namespace orliq::cli
