// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <CLI/CLI.hpp>
#include <cmath>
#include <string>

// Checks of option values whose text stays out of the help, which is easier to read without it.
namespace orliq::cli {

template <typename Number>
CLI::Validator Within(Number min, Number max) {
  return CLI::Range(min, max).description("");
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
