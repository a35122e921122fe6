// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <cmath>
#include <sstream>
#include <string>

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

}  // namespace orliq::cli
