// SPDX-License-Identifier: Apache-2.0
#include <stdexcept>

#include "orliq/mcap/Zstd.h"

// For a program that is built without the zstd library.
namespace orliq::cli {

bool HasZstd() {
  return false;
}

void AppendZstd(std::string_view, std::string&) {
  throw std::logic_error("built without zstd");
}

bool ExpandZstd(std::string_view, std::size_t, std::string&) {
  throw std::logic_error("built without zstd");
}

}  // namespace orliq::cli
