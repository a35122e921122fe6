// SPDX-License-Identifier: Apache-2.0
#include "orliq/plots/ColourMap.h"

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace orliq::cli {
namespace {

constexpr double kPi = 3.141592653589793;

std::uint8_t Encoded(double linear) {
  const double light = std::clamp(linear, 0.0, 1.0);
  const double encoded =
      light <= 0.0031308 ? 12.92 * light : 1.055 * std::pow(light, 1 / 2.4) - 0.055;
  return static_cast<std::uint8_t>(std::lround(255.0 * encoded));
}

/// From the Oklab colour space, in which distances are differences as they are seen: lightness,
/// green to red, blue to yellow.
Colour FromOklab(double lightness, double a, double b) {
  const double l = std::pow(lightness + 0.3963377774 * a + 0.2158037573 * b, 3);
  const double m = std::pow(lightness - 0.1055613458 * a - 0.0638541728 * b, 3);
  const double s = std::pow(lightness - 0.0894841775 * a - 1.2914855480 * b, 3);
  return {Encoded(4.0767416621 * l - 3.3077115913 * m + 0.2309699292 * s),
          Encoded(-1.2684380046 * l + 2.6097574011 * m - 0.3413193965 * s),
          Encoded(-0.0041960863 * l - 0.7034186147 * m + 1.7076147010 * s)};
}

Palette MakePalette() {
  Palette palette;
  for (std::size_t i = 0; i <= kLastShade; ++i) {
    const double t = static_cast<double>(i) / kLastShade;
    palette[i] = FromOklab(0.27 + 0.66 * t, -0.02 - 0.05 * std::sin(kPi * t), -0.12 + 0.27 * t);
  }
  palette[kLoud] = {255, 0, 255};
  return palette;
}

}  // namespace

const Palette& BeamPalette() {
  static const Palette palette = MakePalette();
  return palette;
}

std::string ColourText(const Colour& colour) {
  constexpr char kDigits[] = "0123456789abcdef";
  std::string text = "#";
  for (const std::uint8_t part : colour) {
    text += kDigits[part >> 4U];
    text += kDigits[part & 15U];
  }
  return text;
}

}  // namespace orliq::cli
