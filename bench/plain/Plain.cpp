// SPDX-License-Identifier: Apache-2.0
#include "bench/plain/Plain.h"

#include <cstdint>
#include <vector>

namespace orliq::bench {

void Time(benchmark::State& state, const std::function<std::size_t()>& decode) {
  decode();
  std::size_t points = 0;
  for (auto _ : state) points += decode();
  state.SetItemsProcessed(static_cast<std::int64_t>(points));
}

template <typename Model, typename P>
void Plain(benchmark::State& state) {
  Stream& stream = SharedStream(Model::kName);
  const auto check = CheckParamOf<Model>(stream);
  typename Model::template Plain<P> plain(*check, lidar::DecoderParam());
  std::vector<P> points;
  points.reserve(400'000);
  Time(state, [&] {
    std::size_t total = 0;
    std::size_t packets = 0;
    for (const auto& packet : stream.packets) {
      plain.Decode(packet.data(), 0, points);
      if (++packets % stream.packets_per_frame != 0) continue;
      total += points.size();
      points.clear();
    }
    benchmark::DoNotOptimize(points.data());
    return total;
  });
}

#define ORLIQ_PLAIN(Model)                                    \
  template void Plain<Model, Point>(benchmark::State&);       \
  template void Plain<Model, PointTime>(benchmark::State&);   \
  template void Plain<Model, PointSource>(benchmark::State&); \
  template void Plain<Model, JuniqPoint>(benchmark::State&)
ORLIQ_PLAIN(Juniq);
ORLIQ_PLAIN(Glavor);
ORLIQ_PLAIN(Corvik);
ORLIQ_PLAIN(Kelvane);
#undef ORLIQ_PLAIN

}  // namespace orliq::bench
