// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace orliq::cli {

/// Something in a calibration table that a good one would not have. The driver uses it all the same.
struct Finding {
  std::string kind;                  ///< a word for scripts, such as "not_finite"
  std::string table;                 ///< the table's word
  std::string text;                  ///< a sentence without the table's name
  std::vector<std::uint32_t> beams;  ///< the positions at fault; none when the whole table is
};

}  // namespace orliq::cli
