// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "orliq/plots/ColourMap.h"

namespace orliq::cli {

/// Whether this program was built with the library that writes pictures.
bool CanWritePng();

/// A PNG file of palette numbers, row by row from the top. Throws Failure without that library, or
/// when it reports an error.
std::string IndexedPng(std::size_t width, const std::vector<std::uint8_t>& pixels,
                       const Palette& palette);

}  // namespace orliq::cli
