// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>

#include <memory>
#include <string>
#include <type_traits>

#include "bench/plain/Plain.h"
#include "decoder/LoopForm.h"

// Packets to points, as the decoding thread does it: validation, decoding, frame hand-over. The
// provider gives the same cloud again and again, so it keeps its capacity.
namespace {

using orliq::bench::CheckParamOf;
using orliq::bench::Plain;
using orliq::bench::SharedStream;
using orliq::bench::Stream;
using orliq::bench::Time;
using orliq::lidar::DecoderParam;
using orliq::lidar::LoopForm;

/// A cloud whose application looks at each point.
template <typename P>
struct Derived : PointCloud<P> {
  void PushPoint(const P& point) override { this->points.push_back(point); }
};

enum class Form { kPortable, kWide };

template <typename Model, typename P, typename Cloud>
void Decode(benchmark::State& state, bool transform, Form form) {
  LoopForm::ForcePortable(form == Form::kPortable);
  Stream& stream = SharedStream(Model::kName);
  DecoderParam param;
  param.transform_param = {transform ? 1U : 0U, 1, 2, 3, 4, 5, 6};
  typename Model::template Decoder<P> decoder(param);
  decoder.UpdateCheckParam(CheckParamOf<Model>(stream).get());
  const auto cloud = std::make_shared<Cloud>();
  std::size_t total = 0;
  decoder.InstallCloud(cloud);
  decoder.RegisterCallBack([](const orliq::lidar::Error&) {},
                           [&](const std::uint16_t&, const double&) {
                             total += cloud->points.size();
                             cloud->points.clear();
                           });
  Time(state, [&] {
    total = 0;
    for (const auto& packet : stream.packets) {
      decoder.ProcessMsopPacket(packet.data(), packet.size(), 0);
    }
    benchmark::DoNotOptimize(cloud->points.data());
    return total;
  });
}

template <typename Model, typename P>
void RegisterRecord(const char* record) {
  const std::string family = std::string(Model::kName) + '/' + record;
  benchmark::RegisterBenchmark((family + "/plain").c_str(), Plain<Model, P>);
  const auto add = [&family](const std::string& name, auto run, bool transform) {
    const std::string wide = family + name;
    benchmark::RegisterBenchmark(wide.c_str(), run, transform, Form::kWide);
    if (!LoopForm::HasWide()) return;
    benchmark::RegisterBenchmark((wide + "/portable").c_str(), run, transform, Form::kPortable);
  };
  add("/decoder", Decode<Model, P, PointCloud<P>>, false);
  if (Model::kTransforms) add("/decoder/transform", Decode<Model, P, PointCloud<P>>, true);
  if (std::is_same_v<P, Point>) add("/derived_cloud", Decode<Model, P, Derived<P>>, false);
}

template <typename Model>
bool RegisterModel() {
  RegisterRecord<Model, Point>("Point");
  RegisterRecord<Model, PointTime>("PointTime");
  RegisterRecord<Model, PointSource>("PointSource");
  RegisterRecord<Model, JuniqPoint>("JuniqPoint");
  return true;
}

[[maybe_unused]] const bool kRegistered =
    RegisterModel<orliq::bench::Juniq>() && RegisterModel<orliq::bench::Glavor>() &&
    RegisterModel<orliq::bench::Corvik>() && RegisterModel<orliq::bench::Kelvane>();

}  // namespace
