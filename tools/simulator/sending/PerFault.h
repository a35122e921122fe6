// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <array>
#include <cstddef>

namespace orliq::sim {

/// One number for each of the `kFaults` values that the enum `Fault` counts from 0 on.
template <typename Fault, std::size_t kFaults, typename Number>
struct PerFault {
  std::array<Number, kFaults> values{};

  Number& operator[](Fault fault) { return values[static_cast<std::size_t>(fault)]; }
  const Number& operator[](Fault fault) const { return values[static_cast<std::size_t>(fault)]; }
};

}  // namespace orliq::sim
