// SPDX-License-Identifier: Apache-2.0
#include "param/PieceMemory.h"

#include <cstring>

namespace orliq::lidar {
namespace {

constexpr std::size_t kWord = 4;                  // [bytes] of a number
constexpr std::uint64_t kCopiesOfTheNetwork = 2;  // that may come of one reply

bool IsUniform(const signed char* piece, std::size_t size) {
  return size <= kWord || std::memcmp(piece, piece + kWord, size - kWord) == 0;
}

/// FNV-1a.
std::uint64_t Sum(const signed char* piece, std::size_t size) {
  std::uint64_t sum = 0xCBF29CE484222325;
  for (std::size_t i = 0; i < size; ++i) {
    sum = (sum ^ static_cast<std::uint8_t>(piece[i])) * 0x100000001B3;
  }
  return sum;
}

}  // namespace

bool PieceMemory::IsCopy(const signed char* piece, std::size_t size) {
  if (known_.count(Sum(piece, size)) == 0) return false;
  return refused_++ < possible_ + kCopiesOfTheNetwork;
}

void PieceMemory::Take(const signed char* piece, std::size_t size) {
  knows_last_ = !IsUniform(piece, size);
  if (knows_last_) known_.insert(Sum(piece, size));
  possible_ = unanswered_;
  refused_ = 0;
}

}  // namespace orliq::lidar
