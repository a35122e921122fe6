// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstdint>
#include <string>

namespace orliq::cli {

using Colour = std::array<std::uint8_t, 3>;  // red, green, blue
using Palette = std::array<Colour, 256>;

constexpr std::uint8_t kLastShade = 254;  // of the colours that stand for numbers
constexpr std::uint8_t kLoud = 255;       // the colour of what is wrong

/// From dark blue over grey green to light yellow in steps that look equal, lighter from step to step
/// also for those who do not see all colours, and in grey. The last one is magenta, which differs
/// from all others for them as well.
const Palette& BeamPalette();

/// As documents write it: "#ff00ff".
std::string ColourText(const Colour& colour);

}  // namespace orliq::cli
