// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orliq::cli {

/// Where a text stands to its point.
enum class Anchor { kStart, kMiddle, kEnd };

struct TextStyle {
  double size = 13.0;
  Anchor anchor = Anchor::kStart;
  bool bold = false;
  std::string colour = "#222222";
  double turned = 0.0;  ///< [deg] clockwise about its point
};

/// A drawing that grows from top to bottom of its file. Lengths are pixels at its natural size.
class Svg {
 public:
  void Text(double x, double y, const std::string& text, const TextStyle& style = {});
  void Line(double x1, double y1, double x2, double y2);
  void Rect(double x, double y, double width, double height, const std::string& fill);
  /// Only the outline, in two colours, so that it shows on any ground.
  void Ring(double x, double y, double radius, const std::string& colour);
  /// A PNG file, its pixels as squares.
  void Image(double x, double y, double width, double height, const std::string& png);

  /// The whole document on a white ground.
  std::string Document(double width, double height) const;

 private:
  std::string body_;
};

}  // namespace orliq::cli
