// SPDX-License-Identifier: Apache-2.0
#include "orliq/plots/TablePlot.h"

#include <algorithm>

#include "orliq/plots/HeatMap.h"
#include "orliq/plots/Svg.h"
#include "orliq/terminal/NumberText.h"

namespace orliq::cli {
namespace {

constexpr double kMargin = 24.0;
constexpr double kTitleHeight = 56.0;
constexpr double kNumberWidth = 57.0;  // of a column of numbers
constexpr double kNamesWidth = 104.0;  // before them
constexpr double kRowHeight = 22.0;
constexpr std::size_t kMostNumbers = 9;
constexpr double kFindingIndent = 56.0;  // as under a heat map
constexpr std::size_t kTitleLetters = 110;

/// Of a long one its end, which tells the verdict, from the first byte of a letter of UTF-8 on.
std::string FittedTitle(const std::string& title) {
  std::size_t begin = title.size();
  for (std::size_t letters = 0; begin > 0 && letters < kTitleLetters;) {
    --begin;
    if ((static_cast<unsigned char>(title[begin]) & 0xC0U) != 0x80U) ++letters;
  }
  return begin == 0 ? title : "... " + title.substr(begin);
}

/// The tables of a few numbers, a row for each, and what was found in them. Returns the height.
double DrawNumbers(Svg& svg, double x, double y, const std::vector<CheckedTable>& tables,
                   const std::vector<Finding>& findings) {
  double row = y + 16.0;
  for (std::size_t i = 0; i < kMostNumbers; ++i) {
    svg.Text(x + kNamesWidth + kNumberWidth * (static_cast<double>(i) + 0.8), row,
             '[' + std::to_string(i) + ']', {12.0, Anchor::kEnd, false, "#666666"});
  }
  for (const CheckedTable& table : tables) {
    if (table.HasBeams()) continue;
    row += kRowHeight;
    svg.Text(x, row, table.word, {13.0, Anchor::kStart, true});
    if (table.values.empty()) {
      svg.Text(x + kNamesWidth, row, "no file gives this table: all zero",
               {13.0, Anchor::kStart, false, kFaultColour});
    }
    for (std::size_t i = 0; i < table.values.size(); ++i) {
      svg.Text(x + kNamesWidth + kNumberWidth * (static_cast<double>(i) + 0.8), row,
               Significant(table.values[i]), {13.0, Anchor::kEnd});
    }
  }
  for (const Finding& finding : findings) {
    const bool drawn = std::any_of(tables.begin(), tables.end(), [&](const CheckedTable& table) {
      return table.HasBeams() && table.word == finding.table;
    });
    if (drawn) continue;  // and told below its picture
    row += kRowHeight;
    svg.Text(x, row, finding.table + ": " + finding.text,
             {13.0, Anchor::kStart, false, kFaultColour});
  }
  return row - y;
}

}  // namespace

std::string DrawTables(const std::string& title, const std::vector<CheckedTable>& tables,
                       const std::vector<Finding>& findings) {
  Svg svg;
  svg.Text(kMargin, kMargin + 14.0, FittedTitle(title), {20.0, Anchor::kStart, true});
  double x = kMargin, y = kMargin + kTitleHeight, row_height = 0.0;
  const double width = 2 * kMargin + 2 * kPanelWidth;
  const auto place = [&](double height) {
    row_height = std::max(row_height, height);
    x += kPanelWidth;
    if (x + kPanelWidth <= width) return;
    x = kMargin;
    y += row_height + kMargin;
    row_height = 0.0;
  };
  for (const CheckedTable& table : tables) {
    if (table.HasBeams()) place(DrawHeatMap(svg, x, y, table, findings));
  }
  place(DrawNumbers(svg, x + kFindingIndent, y, tables, findings));
  return svg.Document(width, y + row_height + kMargin);
}

}  // namespace orliq::cli
