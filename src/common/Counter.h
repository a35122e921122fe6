// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <atomic>
#include <cstdint>

namespace orliq::lidar {

/// A number that one thread writes and any thread reads. Who has seen a count also sees those which
/// that thread wrote before it.
class Counter {
 public:
  void Add(std::uint64_t amount = 1) { Set(Value() + amount); }
  void Set(std::uint64_t value) { value_.store(value, std::memory_order_release); }
  std::uint64_t Value() const { return value_.load(std::memory_order_acquire); }

 private:
  std::atomic<std::uint64_t> value_{0};
};

}  // namespace orliq::lidar
