// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <memory>

#include "bench/JuniqStream.h"
#include "bench/PlainJuniq.h"
#include "decoder/juniq/DecoderJuniq.h"

// Packets to points, as the decoding thread does it: validation, decoding, frame hand-over. The
// provider gives the same cloud again and again, so it keeps its capacity.
namespace {

using orliq::bench::SharedStream;
using orliq::lidar::DecoderParam;

void SetPoints(benchmark::State& state) {
  state.SetItemsProcessed(state.iterations() *
                          static_cast<std::int64_t>(SharedStream().packets.size()) * 64);
}

void Plain(benchmark::State& state) {
  const orliq::bench::PlainJuniq plain(SharedStream().check_param(), DecoderParam());
  std::vector<Point> points;
  points.reserve(100000);
  for (auto _ : state) {
    for (const auto& packet : SharedStream().packets) {
      if (plain.Decode(packet.data(), points)) points.clear();
    }
    benchmark::DoNotOptimize(points.data());
  }
  SetPoints(state);
}

/// A cloud whose application looks at each point.
template <typename P>
struct Derived : PointCloud<P> {
  void PushPoint(const P& point) override { this->points.push_back(point); }
};

template <typename P, typename Cloud = PointCloud<P>>
void Decode(benchmark::State& state) {
  auto& stream = SharedStream();
  DecoderParam param;
  param.transform_param = {static_cast<std::uint32_t>(state.range(0)), 1, 2, 3, 4, 5, 6};
  orliq::lidar::DecoderJuniq<PointCloud<P>> decoder(param);
  auto check = stream.check_param();
  check.near_filter[4] = 0.0F;  // the radius filter has its own benchmark
  decoder.UpdateCheckParam(&check);
  const auto cloud = std::make_shared<Cloud>();
  decoder.InstallCloud(cloud);
  decoder.RegisterCallBack([](const orliq::lidar::Error&) {},
                           [&](const std::uint16_t&, const double&) { cloud->points.clear(); });
  for (auto _ : state) {
    for (const auto& packet : stream.packets) {
      decoder.ProcessMsopPacket(packet.data(), packet.size(), 0);
    }
    benchmark::DoNotOptimize(cloud->points.data());
  }
  SetPoints(state);
}

BENCHMARK(Plain)->Name("juniq/plain");
BENCHMARK_TEMPLATE(Decode, Point)->Name("juniq/Point")->ArgName("transform")->Arg(0)->Arg(1);
BENCHMARK_TEMPLATE(Decode, PointTime)
    ->Name("juniq/PointTime")
    ->ArgName("transform")
    ->Arg(0)
    ->Arg(1);
BENCHMARK_TEMPLATE(Decode, PointSource)
    ->Name("juniq/PointSource")
    ->ArgName("transform")
    ->Arg(0)
    ->Arg(1);
BENCHMARK_TEMPLATE(Decode, JuniqPoint)
    ->Name("juniq/JuniqPoint")
    ->ArgName("transform")
    ->Arg(0)
    ->Arg(1);
BENCHMARK_TEMPLATE(Decode, Point, Derived<Point>)
    ->Name("juniq/Point_derived_cloud")
    ->ArgName("transform")
    ->Arg(0)
    ->Arg(1);

}  // namespace
