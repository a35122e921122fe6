// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <benchmark/benchmark.h>

#include <cstddef>
#include <functional>
#include <memory>
#include <type_traits>

#include "bench/Stream.h"
#include "bench/plain/Models.h"

namespace orliq::bench {

/// What the sensor's calibration asks for, without the radius filter: that has its own benchmark.
template <typename Model>
auto CheckParamOf(Stream& stream) {
  auto check =
      std::make_unique<typename Model::Check>(stream.CheckParamOf<typename Model::Check>());
  if constexpr (std::is_base_of_v<orliq::lidar::AngleCheckParam, typename Model::Check>) {
    check->near_filter[4] = 0.0F;
  }
  return check;
}

/// Times `decode`, which goes through the whole stream and returns how many points it gave. Once it
/// runs unseen: then the clouds have their memory.
void Time(benchmark::State& state, const std::function<std::size_t()>& decode);

/// Times the plain loop, which knows no transform and writes the same record as the decoder. Defined
/// for every model and point record.
template <typename Model, typename P>
void Plain(benchmark::State& state);

}  // namespace orliq::bench
