// SPDX-License-Identifier: Apache-2.0
#include "support/JsonValue.h"

#include <nlohmann/json.hpp>
#include <ostream>
#include <utility>

namespace orliq::test {

using nlohmann::json;

JsonValue JsonValue::Parse(const std::string& text) {
  return JsonValue(Tree(std::make_shared<json>(json::parse(text))));
}

JsonValue::JsonValue(Tree tree) : tree_(std::move(tree)) {}
JsonValue::JsonValue(std::nullptr_t) : tree_(std::make_shared<json>()) {}
JsonValue::JsonValue(bool value) : tree_(std::make_shared<json>(value)) {}
JsonValue::JsonValue(int value) : tree_(std::make_shared<json>(value)) {}
JsonValue::JsonValue(unsigned value) : tree_(std::make_shared<json>(value)) {}
JsonValue::JsonValue(std::int64_t value) : tree_(std::make_shared<json>(value)) {}
JsonValue::JsonValue(std::uint64_t value) : tree_(std::make_shared<json>(value)) {}
JsonValue::JsonValue(double value) : tree_(std::make_shared<json>(value)) {}
JsonValue::JsonValue(const char* value) : tree_(std::make_shared<json>(value)) {}
JsonValue::JsonValue(const std::string& value) : tree_(std::make_shared<json>(value)) {}

JsonValue JsonValue::operator[](const std::string& key) const {
  return JsonValue(Tree(tree_, &tree_->at(key)));
}

JsonValue JsonValue::operator[](std::size_t index) const {
  return JsonValue(Tree(tree_, &tree_->at(index)));
}

bool JsonValue::Has(const std::string& key) const {
  return tree_->contains(key);
}

bool JsonValue::IsNull() const {
  return tree_->is_null();
}

std::size_t JsonValue::Size() const {
  return tree_->size();
}

std::vector<JsonValue> JsonValue::Elements() const {
  std::vector<JsonValue> elements;
  for (const json& element : *tree_) elements.push_back(JsonValue(Tree(tree_, &element)));
  return elements;
}

double JsonValue::Number() const {
  return tree_->get<double>();
}

std::int64_t JsonValue::Whole() const {
  return tree_->get<std::int64_t>();
}

std::string JsonValue::Text() const {
  return tree_->get<std::string>();
}

std::string JsonValue::Dump() const {
  return tree_->dump();
}

bool operator==(const JsonValue& a, const JsonValue& b) {
  return *a.tree_ == *b.tree_;
}

bool operator<(const JsonValue& a, const JsonValue& b) {
  return *a.tree_ < *b.tree_;
}

std::ostream& operator<<(std::ostream& out, const JsonValue& value) {
  return out << *value.tree_;
}

}  // namespace orliq::test
