// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace orliq::cli {

constexpr std::size_t kHelpColumns = 80;     // of the narrowest usual terminal
constexpr std::size_t kHelpTextColumn = 28;  // where the words behind an option begin

/// Breaks the lines of a help text that are longer than kHelpColumns at blanks. What belongs to an
/// option goes on under its words.
std::string WrapHelp(const std::string& text);

}  // namespace orliq::cli
