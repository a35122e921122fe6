// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/NumberText.h"

#include <charconv>

namespace orliq::cli {

std::string Grouped(std::uint64_t number) {
  std::string text = std::to_string(number);
  for (std::size_t i = text.size(); i > 3; i -= 3) text.insert(i - 3, 1, ',');
  return text;
}

std::string Fixed(double number, int digits) {
  char text[400];
  const auto end =
      std::to_chars(text, text + sizeof(text), number, std::chars_format::fixed, digits).ptr;
  return {text, end};
}

std::string Significant(double number) {
  char text[32];
  const auto end =
      std::to_chars(text, text + sizeof(text), number, std::chars_format::general, 6).ptr;
  return {text, end};
}

std::string Megabytes(std::uint64_t bytes) {
  if (bytes < 1000) return Count(bytes, "byte");
  const bool small = bytes < 100'000;
  return Fixed(static_cast<double>(bytes) * (small ? 1e-3 : 1e-6), 1) + (small ? " kB" : " MB");
}

std::string Count(std::uint64_t number, const std::string& noun) {
  return Grouped(number) + ' ' + noun + (number == 1 ? "" : "s");
}

}  // namespace orliq::cli
