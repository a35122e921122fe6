// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/YamlValue.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <numeric>
#include <optional>

#include "orliq/terminal/NumberText.h"
#include "orliq/terminal/PlainText.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kShown = 60;  // characters of a text in a failure

std::string Shown(const std::string& text) {
  const bool cut = text.size() > kShown;
  return '\'' + PlainText(text.substr(0, kShown)) + (cut ? "...'" : "'");
}

/// The number that a text without quotes is, or none. Decimal only, in the program's own notation
/// whatever the locale; "nan" and ".inf" are none.
template <typename N>
std::optional<N> AsNumber(const YamlNode& node) {
  if (node.kind != YamlNode::Kind::kText || node.quoted) return {};
  const std::string& text = node.text;
  const std::size_t sign = !text.empty() && text[0] == '+' ? 1 : 0;
  if (text.find_first_not_of("0123456789+-.eE") != std::string::npos) return {};
  N number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data() + sign, end, number);
  if (fault != std::errc() || stop != end) return {};
  return number;
}

std::string Found(const YamlNode& node) {
  switch (node.kind) {
    case YamlNode::Kind::kNothing:
      return "nothing";
    case YamlNode::Kind::kList:
      return "a list";
    case YamlNode::Kind::kMapping:
      return "a mapping";
    case YamlNode::Kind::kText:
      break;
  }
  if (AsNumber<double>(node)) return PlainText(node.text.substr(0, kShown));
  return "the text " + Shown(node.text) + (node.quoted ? " in quotes" : "");
}

/// How many letters must change to turn one word into the other.
std::size_t Distance(const std::string& one, const std::string& other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t changed = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({changed, row[j] + 1, row[j + 1] + 1});
    }
  }
  return row.back();
}

std::string Joined(const std::vector<std::string>& words) {
  std::string text;
  for (const std::string& word : words) text += (text.empty() ? "" : ", ") + word;
  return text;
}

/// " (did you mean port?)", or empty when no known key is close.
std::string Guess(const std::string& key, const std::vector<std::string>& known) {
  const auto farther = [&key](const std::string& one, const std::string& other) {
    return Distance(key, one) < Distance(key, other);
  };
  const auto nearest = std::min_element(known.begin(), known.end(), farther);
  const std::size_t close = nearest->size() / 3;
  if (key.size() > 2 * nearest->size() || Distance(key, *nearest) > close) return {};
  return " (did you mean " + *nearest + "?)";
}

}  // namespace

std::string YamlValue::Text(const std::string& what) const {
  if (node_->kind != YamlNode::Kind::kText || node_->text.empty()) Expect(what);
  const auto is_control = [](char byte) { return static_cast<unsigned char>(byte) < 0x20; };
  if (std::any_of(node_->text.begin(), node_->text.end(), is_control)) Expect(what);
  return node_->text;
}

std::int64_t YamlValue::WholeNumber(std::int64_t min, std::int64_t max) const {
  const auto number = AsNumber<std::int64_t>(*node_);
  if (number && *number >= min && *number <= max) return *number;
  Expect("a whole number from " + std::to_string(min) + " to " + std::to_string(max));
}

double YamlValue::Number(double min, double max, const std::string& unit) const {
  const auto number = AsNumber<double>(*node_);
  if (number && *number >= min && *number <= max) return *number;
  Expect("a number from " + Significant(min) + " to " + Significant(max) + ' ' + unit);
}

std::vector<YamlValue> YamlValue::List(const std::string& what) const {
  if (node_->kind != YamlNode::Kind::kList) Expect(what);
  std::vector<YamlValue> values;
  for (const YamlNode* item : node_->items) values.push_back({*file_, *item});
  return values;
}

YamlValue::Entries YamlValue::Mapping(const std::vector<std::string>& known) const {
  if (node_->kind != YamlNode::Kind::kMapping) Expect("a mapping of " + Joined(known));
  Entries entries;
  for (std::size_t i = 0; i + 1 < node_->items.size(); i += 2) {
    const YamlNode& key = *node_->items[i];
    const YamlValue at(*file_, key, key.line, keys_);
    if (key.kind != YamlNode::Kind::kText) at.Expect("a key, one of " + Joined(known));
    if (key.text == "<<") at.Refuse("merge keys (<<) are not taken: see defaults");
    if (std::find(known.begin(), known.end(), key.text) == known.end()) {
      at.Refuse("unknown key " + Shown(key.text) + Guess(key.text, known) + ", expected one of " +
                Joined(known));
    }
    for (const auto& [name, value] : entries) {
      if (name != key.text) continue;
      at.Refuse(name + " stands here and in line " + std::to_string(value.Line()));
    }
    const std::string keys = keys_.empty() ? key.text : keys_ + '.' + key.text;
    entries.emplace_back(key.text, YamlValue(*file_, *node_->items[i + 1], key.line, keys));
  }
  return entries;
}

void YamlValue::Refuse(const std::string& why) const {
  throw FailureAt(*file_, line_, (keys_.empty() ? "" : keys_ + ": ") + why);
}

void YamlValue::Expect(const std::string& what) const {
  Refuse("expected " + what + ", found " + Found(*node_));
}

}  // namespace orliq::cli
