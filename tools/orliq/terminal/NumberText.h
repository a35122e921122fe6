// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

// Numbers as people read them, whatever the locale.
namespace orliq::cli {

/// 1234567 as "1,234,567".
std::string Grouped(std::uint64_t number);

/// A number with `digits` digits after the point.
std::string Fixed(double number, int digits);

/// A number of any size with six significant digits: "59.8765", "1e+30", "nan".
std::string Significant(double number);

/// "16.9 MB"; what is below 0.1 MB, in kB or bytes.
std::string Megabytes(std::uint64_t bytes);

/// "1 packet", "2,000 packets".
std::string Count(std::uint64_t number, const std::string& noun);

}  // namespace orliq::cli
