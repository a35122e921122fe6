// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>

// Standard error, which whole lines and one line of progress share: a line that comes while progress
// shows takes its place, and the progress follows below. Safe from every thread.
namespace orliq::cli::standard_error {

bool IsTerminal();

/// Columns of the terminal; a longer line would break and could not be written over.
std::size_t Width();

/// One whole line. Colours are left out where no terminal would show them.
void PrintLine(const std::string& text);

/// The line of progress, on a terminal only: cut to its width and written over by the next one.
void ShowProgress(const std::string& text);
void ClearProgress();

/// The text without the escape sequences by which a terminal changes colour.
std::string WithoutColours(const std::string& text);

}  // namespace orliq::cli::standard_error
