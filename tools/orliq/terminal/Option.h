// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <functional>
#include <initializer_list>
#include <string>
#include <vector>

namespace CLI {  // NOLINT(readability-identifier-naming): of the library that parses
class Option;
}  // namespace CLI

namespace orliq::cli {

/// One option of a command line; copies stand for the same one. It lives as long as the program's
/// options. What is asked of its value is checked in the order in which it is asked.
///
/// To compile the library that parses takes seconds, so that only the bodies know it.
class Option {
 public:
  explicit Option(CLI::Option& option) : option_(&option) {}

  /// `fault` says what is wrong with a value, and nothing of a good one.
  Option Check(const std::function<std::string(const std::string&)>& fault) const;

  /// A number from `min` to `max`, which "nan" is not.
  Option Within(int min, int max) const;
  Option Within(double min, double max) const;

  Option Finite() const;

  /// A whole number of up to 64 bits, without a sign: a larger one would be cut to fit.
  Option WholeNumber() const;

  /// A name of a file or folder: an empty one, as of a variable that is not set, would mean none.
  Option NotEmpty() const;

  /// The IPv4 address of one sender, which 0.0.0.0 is not.
  Option HostAddress() const;

  /// Any IPv4 address.
  Option Address() const;

  /// The help tells the words or numbers.
  Option OneOf(const std::vector<std::string>& words) const;
  Option OneOf(std::initializer_list<int> numbers) const;

  /// The value is put in lower case, as names of models are, ahead of all checks.
  Option LowerCase() const;

  /// So many values, with commas between.
  Option Values(int count) const;

  /// Of an option that is repeated for several values.
  Option OneValueEach() const;

  Option Required(bool required = true) const;

  /// Tells in the help what the value is now.
  Option ShowDefault() const;

  /// Heading in the help.
  Option Group(const std::string& heading) const;

  Option Needs(const Option& other) const;
  Option Excludes(const Option& other) const;

 private:
  CLI::Option* option_;  // owned by the program's options
};

/// Whether Option::Within would let it pass.
bool IsWithin(const std::string& text, int min, int max);

}  // namespace orliq::cli
