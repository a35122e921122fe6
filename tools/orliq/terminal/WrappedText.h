// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

namespace orliq::cli {

/// The text behind `head`, both together at most `columns` wide: its lines are broken at blanks and go
/// on under where the text begins, after two more blanks if the line began with some. A longer word,
/// such as a path, stays whole. Ends with a line break.
std::string Wrapped(const std::string& head, const std::string& text, std::size_t columns);

}  // namespace orliq::cli
