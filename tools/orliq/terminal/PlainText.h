// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <string>

namespace orliq::cli {

/// Text from outside, such as the name of a file, as a line of a terminal or a document may hold it:
/// printing ASCII stays, every other byte becomes "?" - unless the whole text is UTF-8, whose letters
/// stay too.
std::string PlainText(const std::string& text);

/// Likewise several lines, such as a list of what to check: they stay lines.
std::string PlainLines(const std::string& text);

}  // namespace orliq::cli
