// SPDX-License-Identifier: Apache-2.0
#include "orliq/mcap/Zstd.h"

#include <zstd.h>

#include <algorithm>
#include <memory>
#include <stdexcept>

namespace orliq::cli {
namespace {

constexpr int kLevel = 1;  // the fastest that is not a mere copy: a cloud hardly gains by more
constexpr std::size_t kStep = std::size_t{1} << 20U;  // [bytes] expanded at once

struct Free {
  void operator()(ZSTD_DCtx* context) const { ZSTD_freeDCtx(context); }
};

}  // namespace

bool HasZstd() {
  return true;
}

void AppendZstd(std::string_view bytes, std::string& to) {
  const std::size_t before = to.size();
  to.resize(before + ZSTD_compressBound(bytes.size()));
  const std::size_t size =
      ZSTD_compress(&to[before], to.size() - before, bytes.data(), bytes.size(), kLevel);
  if (ZSTD_isError(size) != 0) {
    to.resize(before);
    throw std::runtime_error(std::string("cannot compress: ") + ZSTD_getErrorName(size));
  }
  to.resize(before + size);
}

bool ExpandZstd(std::string_view bytes, std::size_t size, std::string& to) {
  const std::unique_ptr<ZSTD_DCtx, Free> context(ZSTD_createDCtx());
  to.clear();
  ZSTD_inBuffer in = {bytes.data(), bytes.size(), 0};
  std::size_t hint = 1;
  while (context && hint != 0) {
    const std::size_t before = to.size();
    const std::size_t room = std::min(kStep, size - before);
    to.resize(before + room);
    ZSTD_outBuffer out = {to.data() + before, room, 0};
    const std::size_t read = in.pos;
    hint = ZSTD_decompressStream(context.get(), &out, &in);
    to.resize(before + out.pos);
    if (ZSTD_isError(hint) != 0 || (out.pos == 0 && in.pos == read)) break;
  }
  return hint == 0 && to.size() == size && in.pos == in.size;
}

}  // namespace orliq::cli
