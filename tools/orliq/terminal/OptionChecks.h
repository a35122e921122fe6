// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <arpa/inet.h>

#include <CLI/CLI.hpp>
#include <charconv>
#include <cmath>
#include <cstdint>
#include <sstream>
#include <string>
#include <system_error>

#include "orliq/terminal/ExitCode.h"

// Checks of option values whose text stays out of the help, which is easier to read without it.
namespace orliq::cli {

/// A number from `min` to `max`, which "nan" is not.
template <typename Number>
CLI::Validator Within(Number min, Number max) {
  const auto check = [min, max](const std::string& text) {
    Number number = 0;
    const bool good = CLI::detail::lexical_cast(text, number) && number >= min && number <= max;
    std::ostringstream range;
    range << "must be from " << min << " to " << max << ", not " << text;
    return good ? std::string() : range.str();
  };
  return {check, "", "within"};
}

inline CLI::Validator Finite() {
  const auto check = [](const std::string& text) {
    float number = 0.0F;
    const bool good = CLI::detail::lexical_cast(text, number) && std::isfinite(number);
    return good ? std::string() : text + " is not a finite number";
  };
  return {check, "", "finite"};
}

/// A whole number of up to 64 bits, without a sign: a larger one would be cut to fit.
inline CLI::Validator WholeNumber() {
  const auto check = [](const std::string& text) {
    std::uint64_t number = 0;
    const char* const end = text.data() + text.size();
    const auto [stop, fault] = std::from_chars(text.data(), end, number);
    const bool good = fault == std::errc() && stop == end;
    return good ? std::string() : "must be a whole number of at most 64 bits, not " + text;
  };
  return {check, "", "whole"};
}

/// A name of a file or folder: an empty one, as of a variable that is not set, would mean none.
inline CLI::Validator NotEmpty() {
  const auto check = [](const std::string& text) {
    return text.empty() ? std::string("an empty name is no file or folder") : std::string();
  };
  return {check, "", "named"};
}

/// Why an option cannot stand beside --config, the file of several sensors.
inline std::string OfOneSensor(const std::string& option) {
  return option + " describes one sensor: with --config, the file does that";
}

/// Beside --config: throws Failure for the first of `options` that is used.
template <std::size_t count>
void RequireNoneOf(const CLI::App& command, const char* const (&options)[count]) {
  for (const char* const option : options) {
    if (command.count(option) > 0) throw Failure(ExitCode::kUsage, OfOneSensor(option));
  }
}

/// The IPv4 address of one sender, which 0.0.0.0 is not.
inline CLI::Validator HostAddress() {
  const auto check = [](const std::string& text) {
    in_addr address = {};
    const bool good = ::inet_pton(AF_INET, text.c_str(), &address) == 1 && address.s_addr != 0;
    return good ? std::string()
                : "must be an IPv4 address of a host, such as 192.168.1.200, not \"" + text + '"';
  };
  return {check, "", "host"};
}

/// For Option::transform: the value in lower case, as names of models are.
inline CLI::Validator LowerCase() {
  const auto change = [](std::string& text) {
    text = CLI::detail::to_lower(text);
    return std::string();
  };
  return {change, "", "lower"};
}

}  // namespace orliq::cli
