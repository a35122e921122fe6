// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "multi_driver/SensorModels.h"

namespace orliq::cli {

using Model = lidar::SensorModel;

/// "juniq, glavor, ..."
std::string ModelNames();

/// The model that --model names; throws Failure for an unknown one.
const Model& KnownModel(const std::string& name);

/// What the models have, a line for each, for help texts.
std::string ModelTable();

/// What to know about the frames of a model that has no measured points; empty for the others.
std::string NoPointsText(const Model& model);

/// ", as none come of hestra packets" for the count of frames of a model that delivers none; or empty.
std::string WhyNoFrames(const Model& model);

/// Rows and columns of a frame; none of a model without a fixed grid.
struct ModelGrid {
  std::size_t rows = 0;
  std::size_t columns = 0;
};
inline ModelGrid GridOf(const Model& model) {
  if (model.returns == 0) return {};
  return {model.rings, model.returns / model.rings};
}

/// The place of a model of the list in it.
std::size_t ModelIndex(const Model& model);

/// Whether the driver of `model` accepts this payload.
bool Fits(const Model& model, const std::uint8_t* payload, std::size_t size);

/// "EE FF 01", as identifiers are shown to the user.
std::string HexBytes(const std::uint8_t* bytes, std::size_t size);

}  // namespace orliq::cli
