// SPDX-License-Identifier: Apache-2.0
#include "orliq/config/YamlValue.h"

#include <algorithm>
#include <charconv>
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

/// The number that a text without quotes is, or none: decimal whatever the locale, so 0x10 is none,
/// nor are "nan" and ".inf".
template <typename N>
std::optional<N> AsNumber(const YamlNode& node) {
  if (node.kind != YamlNode::Kind::kText || node.quoted) return {};
  std::string text = node.text;
  if (text.find_first_not_of("0123456789+-.eE") != std::string::npos) return {};
  if (text[0] == '+' && text[1] != '-') text.erase(0, 1);  // which from_chars does not take
  N number = 0;
  const char* const end = text.data() + text.size();
  const auto [stop, fault] = std::from_chars(text.data(), end, number);
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

/// How many letters must be put in, left out or replaced to turn one word into the other.
std::size_t Distance(const std::string& one, const std::string& other) {
  std::vector<std::size_t> row(other.size() + 1);
  std::iota(row.begin(), row.end(), 0);
  for (std::size_t i = 0; i < one.size(); ++i) {
    std::size_t diagonal = std::exchange(row[0], i + 1);
    for (std::size_t j = 0; j < other.size(); ++j) {
      const std::size_t replaced = diagonal + (one[i] == other[j] ? 0 : 1);
      diagonal = row[j + 1];
      row[j + 1] = std::min({replaced, row[j] + 1, row[j + 1] + 1});
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
  std::string guess;
  std::size_t nearest = 3;
  for (const std::string& word : known) {
    if (key.size() > word.size() + 2) continue;  // far, and perhaps as long as the file
    const std::size_t distance = Distance(key, word);
    if (distance >= nearest || distance > word.size() / 2) continue;
    nearest = distance;
    guess = " (did you mean " + word + "?)";
  }
  return guess;
}

}  // namespace

std::string YamlValue::Text(const std::string& what) const {
  const auto is_control = [](char byte) {
    return static_cast<unsigned char>(byte) < 0x20 || byte == 0x7F;
  };
  const std::string& text = node_->text;  // empty for what is none
  if (text.empty() || std::any_of(text.begin(), text.end(), is_control)) Expect(what);
  return text;
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
  if (node_->kind != YamlNode::Kind::kMapping) Expect("a mapping (of " + Joined(known) + ')');
  Entries entries;
  for (std::size_t i = 0; i + 1 < node_->items.size(); i += 2) {
    const YamlNode& key = *node_->items[i];
    YamlValue(*file_, key, key.line, keys_).RequireNewKey(known, entries);
    const std::string keys = keys_.empty() ? key.text : keys_ + '.' + key.text;
    entries.push_back({key.text, YamlValue(*file_, *node_->items[i + 1], key.line, keys)});
  }
  return entries;
}

void YamlValue::RequireNewKey(const std::vector<std::string>& known, const Entries& earlier) const {
  const std::string& key = node_->text;
  if (key == "<<") Refuse("merge keys (<<) are not taken: what sensors share stands in defaults");
  if (node_->kind != YamlNode::Kind::kText) Expect("a key (one of " + Joined(known) + ')');
  if (std::find(known.begin(), known.end(), key) == known.end()) {
    Refuse("unknown key " + Shown(key) + Guess(key, known) + ", expected one of " + Joined(known));
  }
  const YamlValue* const twin = earlier.Find(key);
  if (twin == nullptr) return;
  Refuse("repeated key '" + key + "', which stands in line " + std::to_string(twin->Line()));
}

const YamlValue* YamlValue::Entries::Find(const std::string& key) const {
  for (const auto& [name, value] : *this) {
    if (name == key) return &value;
  }
  return nullptr;
}

void YamlValue::RefuseKeys(const std::vector<std::string>& keys, const std::string& why) const {
  if (node_->kind != YamlNode::Kind::kMapping) return;
  for (std::size_t i = 0; i < node_->items.size(); i += 2) {
    const YamlNode& key = *node_->items[i];
    if (std::find(keys.begin(), keys.end(), key.text) == keys.end()) continue;
    YamlValue(*file_, key, key.line, keys_).Refuse(key.text + ' ' + why);
  }
}

void YamlValue::Refuse(const std::string& why) const {
  throw FailureAt(*file_, line_, (keys_.empty() ? "" : keys_ + ": ") + why);
}

void YamlValue::Expect(const std::string& what) const {
  Refuse("expected " + what + ", found " + Found(*node_));
}

}  // namespace orliq::cli
