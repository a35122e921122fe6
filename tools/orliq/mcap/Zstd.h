// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <string>
#include <string_view>

// The compression of chunks, by the zstd library if the program was built with it.
namespace orliq::cli {

bool HasZstd();

/// Appends `bytes` to `to` in compressed form. Throws std::runtime_error when that fails, which only
/// a lack of memory brings about; with HasZstd only.
void AppendZstd(std::string_view bytes, std::string& to);

/// What was compressed to exactly `size` bytes; false for anything else. It takes no more memory than
/// the bytes have in them, whatever they say. With HasZstd only.
bool ExpandZstd(std::string_view bytes, std::size_t size, std::string& to);

}  // namespace orliq::cli
