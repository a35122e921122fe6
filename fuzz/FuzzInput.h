// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <string>

#include "multi_driver/Diagnostics.h"

/// Called by a fuzzer, or by the main function that replays a corpus, with each input.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);

namespace orliq::fuzz {

/// The bytes of an input, taken from the front. Behind its end all is 0. They outlive it.
class FuzzInput {
 public:
  FuzzInput(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  bool Empty() const { return size_ == 0; }
  std::size_t Size() const { return size_; }

  /// The number of that many bytes, the least one first.
  std::size_t Number(std::size_t bytes) {
    std::size_t number = 0;
    for (std::size_t i = 0; i < bytes && !Empty(); ++i) {
      number |= std::size_t{*Take(1).data_} << 8 * i;
    }
    return number;
  }

  /// At most the next `size` bytes.
  FuzzInput Take(std::size_t size) {
    const FuzzInput taken(data_, std::min(size, size_));
    data_ += taken.size_;
    size_ -= taken.size_;
    return taken;
  }

  const std::uint8_t* begin() const { return data_; }
  const std::uint8_t* end() const { return data_ + size_; }

 private:
  const std::uint8_t* data_;
  std::size_t size_;
};

/// Ends the process, which is how a fuzzer is told of a fault.
inline void Require(bool holds) {
  if (!holds) std::abort();
}

/// Lets the library say what it has to say to nobody.
inline void Quiet() {
  static const bool once = [] {
    lidar::SetDiagnosticSink([](const std::string&, lidar::DiagnosticStream) {});
    return true;
  }();
  static_cast<void>(once);
}

}  // namespace orliq::fuzz
