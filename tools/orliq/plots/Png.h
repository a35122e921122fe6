// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orliq/plots/ColourMap.h"

namespace orliq::cli {

/// A PNG file of palette numbers, row by row from the top. Its data are stored, not compressed, so
/// that no library is needed.
std::string IndexedPng(std::size_t width, const std::vector<std::uint8_t>& pixels,
                       const Palette& palette);

}  // namespace orliq::cli
