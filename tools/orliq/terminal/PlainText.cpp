// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/PlainText.h"

#include <nlohmann/json.hpp>

namespace orliq::cli {
namespace {

bool IsUtf8(const std::string& text) {
  try {
    (void)nlohmann::json(text).dump();
    return true;
  } catch (const nlohmann::json::type_error&) {
    return false;
  }
}

/// Also U+0080 to U+009F, which some terminals obey, and U+FFFE and U+FFFF, which no document holds.
bool IsControl(const std::string& text, std::size_t at) {
  const auto byte = static_cast<unsigned char>(text[at]);
  if (byte < 0x20 || byte == 0x7F) return true;
  if (byte == 0xC2) return static_cast<unsigned char>(text[at + 1]) < 0xA0;
  return text.compare(at, 3, "\xEF\xBF\xBE") == 0 || text.compare(at, 3, "\xEF\xBF\xBF") == 0;
}

}  // namespace

std::string PlainText(const std::string& text) {
  const bool letters = IsUtf8(text);
  std::string plain;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const bool ascii = static_cast<unsigned char>(text[i]) < 0x80;
    if (IsControl(text, i) || (!ascii && !letters)) {
      plain += '?';
      // What follows the first byte of a letter goes with it.
      while (letters && !ascii && (text[i + 1] & 0xC0) == 0x80) ++i;
    } else {
      plain += text[i];
    }
  }
  return plain;
}

std::string PlainLines(const std::string& text) {
  std::string lines;
  std::size_t begin = 0;
  for (std::size_t end = 0; end != std::string::npos; begin = end + 1) {
    end = text.find('\n', begin);
    lines += (begin > 0 ? "\n" : "") + PlainText(text.substr(begin, end - begin));
  }
  return lines;
}

}  // namespace orliq::cli
