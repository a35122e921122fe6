// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <initializer_list>
#include <string>
#include <utility>
#include <variant>
#include <vector>

namespace orliq::cli {

/// A value of JSON, built up by a verb and written by the JSON library, whose header would cost each
/// file that has something to tell half of its compilation. Members keep their order.
class Json {
 public:
  Json();  // null
  Json(const Json& other);
  Json(Json&& other) noexcept;
  Json& operator=(const Json& other);
  Json& operator=(Json&& other) noexcept;
  ~Json();

  Json(std::nullptr_t);
  Json(bool value);
  Json(int value);
  Json(unsigned value);
  Json(std::int64_t value);
  Json(std::uint64_t value);
  Json(const void*) = delete;  // which would be true
  Json(double value);          // one that is not finite is written as null
  Json(const char* text);
  Json(const std::string& text);
  Json(const std::vector<std::string>& texts);
  Json(const std::vector<float>& numbers);
  /// An object where every value is a pair with a name in front, else an array:
  /// {{"min", 1}, {"max", 2}} and {1, 2}.
  Json(std::initializer_list<Json> values);

  static Json Array();
  static Json Object();

  bool IsNull() const;
  /// Behind the last of an array.
  void Add(Json value);
  std::size_t Size() const;
  /// The member of an object of that name, null where it was none; of null, which becomes an object.
  Json& operator[](const std::string& name);
  /// Takes the members of another object, in place of those of the same name.
  void Update(const Json& object);

  /// On one line, or broken and indented. Text may hold any bytes: those that are no UTF-8 are replaced.
  std::string Text() const;
  std::string IndentedText(int blanks) const;

 private:
  friend struct JsonTree;  // the same for the JSON library
  using Elements = std::vector<Json>;
  using Members = std::vector<std::pair<std::string, Json>>;

  bool IsPair() const;

  std::variant<std::nullptr_t, bool, std::int64_t, std::uint64_t, double, std::string, Elements,
               Members>
      value_;
};

}  // namespace orliq::cli
