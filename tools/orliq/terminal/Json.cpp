// SPDX-License-Identifier: Apache-2.0
#include "orliq/terminal/Json.h"

#include <algorithm>
#include <nlohmann/json.hpp>

namespace orliq::cli {

struct JsonTree {
  using Tree = nlohmann::ordered_json;

  template <typename Value>
  Tree operator()(const Value& value) const {
    return value;
  }
  Tree operator()(const Json::Elements& elements) const {
    Tree tree = Tree::array();
    for (const Json& element : elements) tree.push_back(Of(element));
    return tree;
  }
  Tree operator()(const Json::Members& members) const {
    Tree tree = Tree::object();
    for (const auto& [name, member] : members) tree[name] = Of(member);
    return tree;
  }

  static Tree Of(const Json& json) { return std::visit(JsonTree(), json.value_); }
  static std::string Text(const Json& json, int blanks) {
    return Of(json).dump(blanks, ' ', false, Tree::error_handler_t::replace);
  }
};

Json::Json() = default;
Json::Json(const Json& other) = default;
Json::Json(Json&& other) noexcept = default;
Json& Json::operator=(const Json& other) = default;
Json& Json::operator=(Json&& other) noexcept = default;
Json::~Json() = default;

Json::Json(std::nullptr_t) {}
Json::Json(bool value) : value_(value) {}
Json::Json(int value) : value_(std::int64_t{value}) {}
Json::Json(unsigned value) : value_(std::uint64_t{value}) {}
Json::Json(std::int64_t value) : value_(value) {}
Json::Json(std::uint64_t value) : value_(value) {}
Json::Json(double value) : value_(value) {}
Json::Json(const char* text) : value_(std::string(text)) {}
Json::Json(const std::string& text) : value_(text) {}
Json::Json(const std::vector<std::string>& texts) : value_(Elements(texts.begin(), texts.end())) {}
Json::Json(const std::vector<float>& numbers) : value_(Elements(numbers.begin(), numbers.end())) {}

Json::Json(std::initializer_list<Json> values) {
  if (!std::all_of(values.begin(), values.end(), [](const Json& json) { return json.IsPair(); })) {
    value_ = Elements(values);
    return;
  }
  Members& members = value_.emplace<Members>();
  for (const Json& pair : values) {
    const auto& of_pair = std::get<Elements>(pair.value_);
    members.emplace_back(std::get<std::string>(of_pair[0].value_), of_pair[1]);
  }
}

Json Json::Array() {
  Json json;
  json.value_ = Elements();
  return json;
}

Json Json::Object() {
  Json json;
  json.value_ = Members();
  return json;
}

bool Json::IsPair() const {
  const auto* const elements = std::get_if<Elements>(&value_);
  return elements != nullptr && elements->size() == 2 &&
         std::holds_alternative<std::string>(elements->front().value_);
}

bool Json::IsNull() const {
  return std::holds_alternative<std::nullptr_t>(value_);
}

void Json::Add(Json value) {
  std::get<Elements>(value_).push_back(std::move(value));
}

std::size_t Json::Size() const {
  return std::get<Elements>(value_).size();
}

Json& Json::operator[](const std::string& name) {
  if (IsNull()) value_ = Members();
  auto& members = std::get<Members>(value_);
  const auto found = std::find_if(members.begin(), members.end(),
                                  [&name](const auto& member) { return member.first == name; });
  if (found != members.end()) return found->second;
  return members.emplace_back(name, Json()).second;
}

void Json::Update(const Json& object) {
  for (const auto& [name, member] : std::get<Members>(object.value_)) (*this)[name] = member;
}

std::string Json::Text() const {
  return JsonTree::Text(*this, -1);
}

std::string Json::IndentedText(int blanks) const {
  return JsonTree::Text(*this, blanks);
}

}  // namespace orliq::cli
