// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <initializer_list>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "orliq/terminal/Option.h"

namespace CLI {  // NOLINT(readability-identifier-naming): of the library that parses
class App;
}  // namespace CLI

namespace orliq::cli {

/// The command line of one verb; copies stand for the same one. Parsing stores what is given in the
/// variables that options are added with, which outlive it.
class CommandLine {
 public:
  explicit CommandLine(CLI::App& command) : command_(&command) {}

  /// `Value` is one of those that CommandLine.cpp lists. An optional text takes an empty one for none.
  /// A `name` without hyphens is that of a positional.
  template <typename Value>
  Option Add(const std::string& name, Value& value, const std::string& text);

  /// Keeps an empty text apart from none.
  Option AddText(const std::string& name, std::optional<std::string>& value,
                 const std::string& text);

  /// One of several words, each of which stands for a value; the help tells them as `kinds`.
  template <typename Enum>
  Option AddWord(const std::string& name, Enum& value, const std::map<std::string, Enum>& words,
                 const std::string& kinds, const std::string& text) {
    std::vector<std::string> known;
    known.reserve(words.size());
    for (const auto& [word, meaning] : words) known.push_back(word);
    const auto take = [&value, words](const std::string& word) { value = words.at(word); };
    return AddOneOf(name, take, known, kinds, text);
  }

  /// Sets `value`; without one, for who looks for the flag elsewhere.
  Option AddFlag(const std::string& name, bool& value, const std::string& text);
  Option AddFlag(const std::string& name, const std::string& text);

  /// Makes `value` false.
  Option AddFlagAgainst(const std::string& name, bool& value, const std::string& text);

  /// What follows the options in the help.
  void Footer(const std::string& text);

  /// An option that was added.
  Option Get(const std::string& name);

  /// Whether the user gave it; it was added.
  bool Has(const std::string& name) const;

  /// All that the user gave.
  std::vector<std::string> Given() const;

  using Names = std::initializer_list<const char*>;

  /// Beside --config, the file of several sensors: throws Failure for the first of `options`, which
  /// describe one, that is given.
  void RequireNoneOf(Names options) const;

  /// --config stands for `options`: parsing refuses them beside it, asks for the first of them without
  /// it, and takes it where another option needs one of them. Call it when all have been added.
  void LetConfigReplace(Names options);

  std::string Name() const;

  /// Whether the user chose this verb.
  bool IsUsed() const;

 private:
  Option AddOneOf(const std::string& name, const std::function<void(const std::string&)>& take,
                  const std::vector<std::string>& words, const std::string& kinds,
                  const std::string& text);

  CLI::App* command_;  // owned by the program's
};

}  // namespace orliq::cli
