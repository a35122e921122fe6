// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace orliq::lidar {

/// The fields of each line that belong to the table: `first`, `first + step`, and so on.
struct TableColumns {
  std::size_t first = 0;
  std::size_t step = 1;  ///< 0 counts as 1
};

/// What reading a table file gave.
struct TableRead {
  bool readable = false;  ///< a regular file of bearable size that could be read to its end
  std::size_t found = 0;  ///< numbers in the chosen columns, also those that were not kept
  std::size_t text = 0;   ///< of those kept: fields that hold no number, which count as 0
};

/// Appends the first `keep` numbers in the chosen columns of a text file to `values` and counts
/// them all. Lines end with a newline, fields with a comma; a comma at the end of a line opens no
/// further field and an empty line has none.
///
/// A field means what strtod makes of it in the "C" locale, whatever locale the process has set,
/// narrowed to float: leading blanks and trailing text are ignored, hexadecimal, "inf" and "nan"
/// are numbers, anything else is 0, and what is too large for a float is infinite.
///
/// Only regular files up to 256 MiB are read, so that neither a pipe nor a device nor a file
/// without end can stall the start of a driver; anything else leaves `values` alone and is not
/// readable.
TableRead ReadTableFile(const std::string& path, TableColumns columns, std::size_t keep,
                        std::vector<float>& values);

}  // namespace orliq::lidar
