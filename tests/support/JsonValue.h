// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <iosfwd>
#include <memory>
#include <nlohmann/json_fwd.hpp>
#include <string>
#include <vector>

namespace orliq::test {

/// A value of the JSON that the program prints, to be looked into and compared. It stands in front of
/// the JSON library, whose header would take longer to compile than a test that asks for a number.
class JsonValue {
 public:
  /// Throws what the JSON library throws where `text` is no JSON; so do the accessors where there is
  /// no such member or the value is of another kind.
  static JsonValue Parse(const std::string& text);

  // To compare with.
  JsonValue(std::nullptr_t);
  JsonValue(bool value);
  JsonValue(int value);
  JsonValue(unsigned value);
  JsonValue(std::int64_t value);
  JsonValue(std::uint64_t value);
  JsonValue(double value);
  JsonValue(const char* value);
  JsonValue(const std::string& value);

  JsonValue operator[](const std::string& key) const;
  JsonValue operator[](std::size_t index) const;
  bool Has(const std::string& key) const;
  bool IsNull() const;
  /// How many members or elements.
  std::size_t Size() const;
  std::vector<JsonValue> Elements() const;

  double Number() const;
  std::int64_t Whole() const;
  std::string Text() const;
  /// As JSON on one line, members in alphabetical order.
  std::string Dump() const;

  friend bool operator==(const JsonValue& a, const JsonValue& b);
  friend bool operator!=(const JsonValue& a, const JsonValue& b) { return !(a == b); }
  friend bool operator<(const JsonValue& a, const JsonValue& b);
  friend bool operator>(const JsonValue& a, const JsonValue& b) { return b < a; }
  friend bool operator<=(const JsonValue& a, const JsonValue& b) { return !(b < a); }
  friend bool operator>=(const JsonValue& a, const JsonValue& b) { return !(a < b); }
  friend std::ostream& operator<<(std::ostream& out, const JsonValue& value);

 private:
  using Tree = std::shared_ptr<const nlohmann::json>;  // a member keeps its whole
  explicit JsonValue(Tree tree);

  Tree tree_;
};

}  // namespace orliq::test
