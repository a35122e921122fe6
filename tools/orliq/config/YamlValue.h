// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <utility>
#include <vector>

#include "orliq/config/YamlTree.h"

namespace orliq::cli {

/// A value of a YAML file, with the keys that lead to it. What is asked of it and is not there throws
/// Failure with file, line, keys, what was expected and what was found. File name and tree must
/// outlive it.
class YamlValue {
 public:
  /// The values of a mapping by their keys.
  class Entries : public std::vector<std::pair<std::string, YamlValue>> {
   public:
    /// Null when there is no such key.
    const YamlValue* Find(const std::string& key) const;
  };

  YamlValue(const std::string& file, const YamlNode& node) : YamlValue(file, node, node.line, "") {}

  const std::string& File() const { return *file_; }
  int Line() const { return line_; }

  /// Not empty, and without control characters. `what` stands in the failure, as "an address".
  std::string Text(const std::string& what) const;

  std::int64_t WholeNumber(std::int64_t min, std::int64_t max) const;

  /// Finite. `unit` stands in the failure.
  double Number(double min, double max, const std::string& unit) const;

  /// The keys of what an item holds begin with the item.
  std::vector<YamlValue> List(const std::string& what) const;

  /// None of its keys is unknown or repeated.
  Entries Mapping(const std::vector<std::string>& known) const;

  /// Throws Failure for the first of its keys, if it is a mapping, that is among `keys`: "KEY why".
  void RefuseKeys(const std::vector<std::string>& keys, const std::string& why) const;

  /// Throws Failure for this value: "FILE:LINE: KEYS: why".
  [[noreturn]] void Refuse(const std::string& why) const;

  /// The same, "expected `what`, found" and what is there.
  [[noreturn]] void Expect(const std::string& what) const;

 private:
  YamlValue(const std::string& file, const YamlNode& node, int line, std::string keys)
      : file_(&file), node_(&node), line_(line), keys_(std::move(keys)) {}

  void RequireNewKey(const std::vector<std::string>& known, const Entries& earlier) const;

  const std::string* file_;
  const YamlNode* node_;
  int line_;  // of its key, where it has one: an alias leads to a node elsewhere
  std::string keys_;
};

}  // namespace orliq::cli
