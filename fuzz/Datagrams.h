// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <utility>
#include <vector>

#include "fuzz/FuzzInput.h"

namespace orliq::fuzz {

// How a datagram comes about. The two highest bits of the byte tell how often it comes.
constexpr unsigned kBlank = 1;         // of a blank one, not of the one before it
constexpr unsigned kFill = 2;          // the bytes repeat up to its end
constexpr unsigned kResized = 4;       // it has another length
constexpr unsigned kRemarked = 8;      // whatever that means to the harness
constexpr unsigned kAfterNews = 16;    // likewise: something happens before it
constexpr unsigned kAfterJump = 32;    // likewise
constexpr unsigned kForAFrame = 0xF0;  // until a frame is closed by force, and nothing before it

/// The datagrams of an input. Each is the one before it with other bytes in one place, so that a few
/// bytes of input make a frame of a thousand packets which get past the checks of length and identifier.
class Datagrams {
 public:
  static constexpr std::size_t kMost = 3200;  // a frame that is closed by force has less

  /// A blank datagram has the usual length and begins as all do.
  Datagrams(FuzzInput& input, std::vector<std::uint8_t> blank)
      : input_(input), blank_(std::move(blank)), whole_(blank_) {}

  /// Goes to the first datagram, or the next one; false when there is none.
  bool Next() {
    new_ = repeats_ == 0;
    if (new_ && (input_.Empty() || count_ >= kMost)) return false;
    if (new_) Make();
    --repeats_;
    ++count_;
    return true;
  }

  /// Whether kAfterNews, or kAfterJump, holds for it. What it repeats comes after nothing.
  bool Comes(unsigned after) const {
    return new_ && (how_ & kForAFrame) != kForAFrame && (how_ & after) != 0;
  }

  const std::uint8_t* data() const { return bytes_.get(); }  ///< not a byte of memory is behind it
  std::size_t size() const { return size_; }
  bool IsRemarked() const { return (how_ & kRemarked) != 0; }

 private:
  void Make() {
    how_ = static_cast<unsigned>(input_.Number(1));
    if ((how_ & kBlank) != 0) whole_ = blank_;
    size_ = (how_ & kResized) != 0 ? input_.Number(2) % (blank_.size() + 2) : blank_.size();
    Patch(input_.Number(2) % blank_.size());
    bytes_ = std::make_unique<std::uint8_t[]>(size_);
    std::copy_n(whole_.data(), std::min(size_, whole_.size()), bytes_.get());
    const std::size_t times = (how_ & kForAFrame) == kForAFrame ? kMost : 1 + (how_ >> 6U);
    repeats_ = std::min(times, kMost - count_);
  }

  void Patch(std::size_t at) {
    const FuzzInput patch = input_.Take(input_.Number(2));
    std::size_t rest = patch.Empty() ? 0 : whole_.size() - at;
    for (bool first = true; rest > 0 && (first || (how_ & kFill) != 0); first = false) {
      const std::size_t some = std::min(rest, patch.Size());
      std::copy_n(patch.begin(), some, whole_.end() - static_cast<std::ptrdiff_t>(rest));
      rest -= some;
    }
  }

  FuzzInput& input_;
  const std::vector<std::uint8_t> blank_;
  std::vector<std::uint8_t> whole_;  // the datagram before it is cut
  std::unique_ptr<std::uint8_t[]> bytes_;
  std::size_t size_ = 0;
  unsigned how_ = 0;
  bool new_ = false;         // it does not repeat the one before
  std::size_t repeats_ = 0;  // of the datagram that are still to come
  std::size_t count_ = 0;
};

}  // namespace orliq::fuzz
