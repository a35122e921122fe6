// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <sys/mman.h>
#include <unistd.h>

#include <string>

#include "fuzz/FuzzInput.h"

namespace orliq::fuzz {

/// A regular file that stands in memory only.
class MemoryFile {
 public:
  MemoryFile(const std::uint8_t* data, std::size_t size)
      : descriptor_(::memfd_create("fuzz", MFD_CLOEXEC)) {
    Require(descriptor_ >= 0);
    Require(::write(descriptor_, data, size) == static_cast<ssize_t>(size));
  }
  ~MemoryFile() { ::close(descriptor_); }
  MemoryFile(const MemoryFile&) = delete;
  MemoryFile& operator=(const MemoryFile&) = delete;

  std::string Path() const { return "/proc/self/fd/" + std::to_string(descriptor_); }

 private:
  int descriptor_;
};

}  // namespace orliq::fuzz
