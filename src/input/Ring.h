// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <utility>
#include <vector>

namespace orliq::lidar {

/// FIFO that keeps its room: a steady flow of items allocates nothing, which a std::deque does with
/// every few items. Grows by doubling; only an unusual amount of room is given back, once it is empty.
template <typename T>
class Ring {
 public:
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  void Push(const T& item) {
    if (size_ == slots_.size()) Grow();
    slots_[Slot(size_)] = item;
    ++size_;
  }

  /// Takes the oldest item; there must be one.
  T Pop() {
    T item = std::exchange(slots_[first_], T());
    first_ = Slot(1);
    --size_;
    if (size_ == 0 && slots_.size() > kKeptSlots) *this = Ring();
    return item;
  }

 private:
  std::size_t Slot(std::size_t index) const { return (first_ + index) & (slots_.size() - 1); }

  void Grow() {
    std::vector<T> larger(slots_.empty() ? 32 : 2 * slots_.size());
    for (std::size_t i = 0; i < size_; ++i) larger[i] = std::move(slots_[Slot(i)]);
    slots_.swap(larger);
    first_ = 0;
  }

  static constexpr std::size_t kKeptSlots = 16384;

  std::vector<T> slots_;  // a power of two of them
  std::size_t first_ = 0;
  std::size_t size_ = 0;
};

}  // namespace orliq::lidar
