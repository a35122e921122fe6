// SPDX-License-Identifier: Apache-2.0
#include "orliq/plots/Svg.h"

#include <cstdint>

#include "orliq/terminal/NumberText.h"
#include "orliq/terminal/PlainText.h"

namespace orliq::cli {
namespace {

/// A blank, the name and the value in quotes.
std::string Attribute(const char* name, const std::string& value) {
  return std::string(" ") + name + "=\"" + value + '"';
}

std::string Attribute(const char* name, double value) {
  return Attribute(name, Significant(value));
}

std::string Area(double x, double y, double width, double height) {
  return Attribute("x", x) + Attribute("y", y) + Attribute("width", width) +
         Attribute("height", height);
}

std::string Escaped(const std::string& text) {
  std::string escaped;
  for (const char letter : PlainText(text)) {
    switch (letter) {
      case '&':
        escaped += "&amp;";
        break;
      case '<':
        escaped += "&lt;";
        break;
      case '>':
        escaped += "&gt;";
        break;
      default:
        escaped += letter;
    }
  }
  return escaped;
}

std::string Base64(const std::string& bytes) {
  constexpr char kDigits[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
  std::string text;
  for (std::size_t i = 0; i < bytes.size(); i += 3) {
    std::uint32_t group = 0;
    for (std::size_t k = i; k < i + 3; ++k) {
      group = group << 8U | (k < bytes.size() ? static_cast<std::uint8_t>(bytes[k]) : 0U);
    }
    for (int shift = 18; shift >= 0; shift -= 6) text += kDigits[(group >> shift) & 63U];
  }
  const std::size_t missing = (3 - bytes.size() % 3) % 3;
  return text.replace(text.size() - missing, missing, missing, '=');
}

const char* AnchorText(Anchor anchor) {
  if (anchor == Anchor::kStart) return "start";
  return anchor == Anchor::kMiddle ? "middle" : "end";
}

}  // namespace

void Svg::Text(double x, double y, const std::string& text, const TextStyle& style) {
  body_ += "<text" + Attribute("x", x) + Attribute("y", y) + Attribute("font-size", style.size) +
           Attribute("fill", style.colour) + Attribute("text-anchor", AnchorText(style.anchor));
  if (style.bold) body_ += Attribute("font-weight", "bold");
  if (style.turned != 0.0) {
    body_ += Attribute("transform", "rotate(" + Significant(style.turned) + ' ' + Significant(x) +
                                        ' ' + Significant(y) + ')');
  }
  body_ += '>' + Escaped(text) + "</text>\n";
}

void Svg::Line(double x1, double y1, double x2, double y2) {
  body_ += "<line" + Attribute("x1", x1) + Attribute("y1", y1) + Attribute("x2", x2) +
           Attribute("y2", y2) + Attribute("stroke", "#222222") + "/>\n";
}

void Svg::Rect(double x, double y, double width, double height, const std::string& fill) {
  body_ += "<rect" + Area(x, y, width, height) + Attribute("fill", fill) +
           Attribute("stroke", "#222222") + "/>\n";
}

void Svg::Ring(double x, double y, double radius, const std::string& colour) {
  for (const auto& [stroke, width] :
       {std::pair<std::string, double>("#ffffff", 4.0), {colour, 2.0}}) {
    body_ += "<circle" + Attribute("cx", x) + Attribute("cy", y) + Attribute("r", radius) +
             Attribute("fill", "none") + Attribute("stroke", stroke) +
             Attribute("stroke-width", width) + "/>\n";
  }
}

void Svg::Image(double x, double y, double width, double height, const std::string& png) {
  // Two words for the same: the older one is of the attribute, the newer one of style sheets.
  body_ += "<image" + Area(x, y, width, height) + Attribute("preserveAspectRatio", "none") +
           Attribute("image-rendering", "optimizeSpeed") +
           Attribute("style", "image-rendering:pixelated") +
           Attribute("xlink:href", "data:image/png;base64," + Base64(png)) + "/>\n";
}

std::string Svg::Document(double width, double height) const {
  return "<?xml version=\"1.0\" encoding=\"UTF-8\"?>\n"
         "<svg xmlns=\"http://www.w3.org/2000/svg\" xmlns:xlink=\"http://www.w3.org/1999/xlink\"" +
         Attribute("width", width) + Attribute("height", height) +
         Attribute("viewBox", "0 0 " + Significant(width) + ' ' + Significant(height)) +
         Attribute("font-family", "Helvetica, Arial, sans-serif") + ">\n<rect" +
         Area(0, 0, width, height) + Attribute("fill", "#ffffff") + "/>\n" + body_ + "</svg>\n";
}

}  // namespace orliq::cli
