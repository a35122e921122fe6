// SPDX-License-Identifier: Apache-2.0
#include "orliq/plots/HeatMap.h"

#include <algorithm>
#include <cmath>
#include <cstdint>

#include "orliq/plots/ColourMap.h"
#include "orliq/plots/Png.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

// Also in the image: not every viewer that enlarges one leaves its pixels square.
constexpr std::size_t kCellPixels = 2;  // of a beam
constexpr double kCell = kCellPixels;
constexpr double kMapWidth = kCell * kBeamColumns;
constexpr double kMapHeight = kCell * kBeamRows;
constexpr double kLeft = 56.0;   // of the map in its panel
constexpr double kTop = 48.0;    // likewise
constexpr double kBelow = 46.0;  // for the axis under it
constexpr double kBarX = kLeft + kMapWidth + 16.0;
constexpr double kBarWidth = 16.0;
constexpr double kTick = 5.0;
constexpr double kLineHeight = 18.0;
constexpr std::size_t kLineLetters = 92;  // of a finding, that fit the panel
constexpr std::size_t kMostRings = 40;    // more beams show without

/// The faulty beams of a table, and the numbers that its colours stand for.
struct Scale {
  std::vector<std::uint8_t> faulty;
  std::vector<std::uint32_t> faulty_beams;
  ValueRange range;

  Scale(const CheckedTable& table, const std::vector<Finding>& findings)
      : faulty(table.values.size()) {
    for (const Finding& finding : findings) {
      if (finding.table != table.word) continue;
      for (const std::uint32_t beam : finding.beams) faulty[beam] = 1;
    }
    for (std::uint32_t i = 0; i < faulty.size(); ++i) {
      faulty[i] != 0 ? faulty_beams.push_back(i) : range.Add(table.values[i]);
    }
  }

  double Share(double value) const {
    const double span = double{range.max} - double{range.min};
    return span > 0.0 ? (value - double{range.min}) / span : 0.5;
  }
};

std::uint8_t ShadeOf(const CheckedTable& table, const Scale& scale, std::size_t beam) {
  if (scale.faulty[beam] != 0) return kLoud;
  const double share = scale.Share(double{table.values[beam]});
  return static_cast<std::uint8_t>(std::lround(kLastShade * share));
}

std::string MapPng(const CheckedTable& table, const Scale& scale) {
  const std::size_t width = kCellPixels * kBeamColumns;
  std::vector<std::uint8_t> pixels(width * kCellPixels * kBeamRows);
  for (std::size_t i = 0; i < pixels.size(); ++i) {
    const std::size_t column = i % width / kCellPixels, row = i / width / kCellPixels;
    pixels[i] = ShadeOf(table, scale, column + kBeamColumns * row);
  }
  return IndexedPng(width, pixels, BeamPalette());
}

std::string BarPng() {
  std::vector<std::uint8_t> shades;
  for (int shade = kLastShade; shade >= 0; --shade) {
    shades.push_back(static_cast<std::uint8_t>(shade));
  }
  return IndexedPng(1, shades, BeamPalette());
}

void DrawAxes(Svg& svg, double x, double y) {
  const double bottom = y + kMapHeight;
  for (const int column : {0, 64, 128, 192, 255}) {
    const double at = x + kCell * (column + 0.5);
    svg.Line(at, bottom, at, bottom + kTick);
    svg.Text(at, bottom + 18.0, std::to_string(column), {12.0, Anchor::kMiddle});
  }
  for (const int row : {0, 48, 96, 144, 191}) {
    const double at = y + kCell * (row + 0.5);
    svg.Line(x - kTick, at, x, at);
    svg.Text(x - 8.0, at + 4.0, std::to_string(row), {12.0, Anchor::kEnd});
  }
  svg.Text(x + kMapWidth / 2, bottom + 36.0, "column", {13.0, Anchor::kMiddle});
  TextStyle turned = {13.0, Anchor::kMiddle};
  turned.turned = -90.0;
  svg.Text(x - 40.0, y + kMapHeight / 2, "row", turned);
}

/// 1, 2 or 5 times a power of ten, four to ten of which make up the span.
double TickStep(double span) {
  const double power = std::pow(10.0, std::floor(std::log10(span)) - 1.0);
  for (const double factor : {1.0, 2.0, 5.0, 10.0}) {
    if (span / (factor * power) <= 10.0) return factor * power;
  }
  return 20.0 * power;
}

void DrawBar(Svg& svg, double x, double y, const Scale& scale, const std::string& unit) {
  svg.Image(x, y, kBarWidth, kMapHeight, BarPng());
  svg.Text(x, y - 12.0, unit, {13.0});
  const auto tick = [&](double value) {
    const double at = y + kMapHeight * (1.0 - scale.Share(value));
    svg.Line(x + kBarWidth, at, x + kBarWidth + kTick, at);
    svg.Text(x + kBarWidth + 8.0, at + 4.0, Significant(value), {12.0});
  };
  const double min = double{scale.range.min}, max = double{scale.range.max};
  if (!(max > min)) return tick(min);
  const double step = TickStep(max - min);
  const double first = std::ceil(min / step);
  for (int i = 0; (first + i) * step <= max; ++i) tick((first + i) * step);
}

/// A text in lines of its words.
double DrawLines(Svg& svg, double x, double y, std::string text) {
  double height = 0.0;
  while (!text.empty()) {
    std::size_t end = text.size();
    if (end > kLineLetters) {
      const std::size_t blank = text.rfind(' ', kLineLetters);
      end = blank == std::string::npos || blank == 0 ? kLineLetters : blank;
    }
    TextStyle style;
    style.colour = kFaultColour;
    svg.Text(x, y + height, text.substr(0, end), style);
    text.erase(0, end);
    height += kLineHeight;
  }
  return height;
}

double DrawFindings(Svg& svg, double x, double y, const CheckedTable& table,
                    const std::vector<Finding>& findings) {
  double height = 0.0;
  for (const Finding& finding : findings) {
    if (finding.table != table.word) continue;
    if (!finding.beams.empty()) {
      svg.Rect(x - 18.0, y + height - 10.0, 11.0, 11.0, ColourText(BeamPalette()[kLoud]));
    }
    height += DrawLines(svg, x, y + height, finding.text);
  }
  return height;
}

void DrawMap(Svg& svg, double x, double y, const CheckedTable& table, const Scale& scale) {
  svg.Image(x, y, kMapWidth, kMapHeight, MapPng(table, scale));
  if (scale.faulty_beams.size() > kMostRings) return;
  for (const std::uint32_t beam : scale.faulty_beams) {
    const std::size_t column = beam % kBeamColumns, row = beam / kBeamColumns;
    svg.Ring(x + kCell * (static_cast<double>(column) + 0.5),
             y + kCell * (static_cast<double>(row) + 0.5), 8.0, ColourText(BeamPalette()[kLoud]));
  }
}

std::string RangeText(const CheckedTable& table) {
  const ValueRange range = table.Range();
  if (range.empty) return "no numbers";
  return Significant(range.min) + " to " + Significant(range.max) + ' ' + table.unit;
}

}  // namespace

double DrawHeatMap(Svg& svg, double x, double y, const CheckedTable& table,
                   const std::vector<Finding>& findings) {
  const lidar::TableLoad* const file = table.InUse();
  TextStyle title = {16.0};
  title.bold = true;
  svg.Text(x + kLeft, y + 16.0, table.word, title);
  const double left = x + kLeft, top = y + kTop;
  double below = top + kMapHeight + kBelow;
  if (file == nullptr) {
    svg.Rect(left, top, kMapWidth, kMapHeight, "#eeeeee");
    svg.Text(left + kMapWidth / 2, top + kMapHeight / 2, "no file gives this table: all zero",
             {16.0, Anchor::kMiddle, false, kFaultColour});
  } else {
    const Scale scale(table, findings);
    svg.Text(left, y + 36.0, FileName(*file) + ": " + RangeText(table));
    DrawMap(svg, left, top, table, scale);
    DrawAxes(svg, left, top);
    if (!scale.range.empty) DrawBar(svg, x + kBarX, top, scale, table.unit);
  }
  below += DrawFindings(svg, left, below + kLineHeight, table, findings);
  return below + kLineHeight - y;
}

}  // namespace orliq::cli
