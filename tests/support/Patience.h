// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <thread>

namespace orliq::test {

/// Far beyond what any machine needs, also one that is busy or runs everything under a sanitizer.
constexpr std::chrono::seconds kDeadline{60};

/// Asks again until the answer is yes or the deadline has passed. An expectation prints the question.
inline testing::AssertionResult Eventually(const std::function<bool()>& ask) {
  const auto end = std::chrono::steady_clock::now() + kDeadline;
  while (!ask()) {
    if (std::chrono::steady_clock::now() > end) {
      return testing::AssertionFailure() << "not within " << kDeadline.count() << " s";
    }
    std::this_thread::yield();
  }
  return testing::AssertionSuccess();
}

}  // namespace orliq::test
