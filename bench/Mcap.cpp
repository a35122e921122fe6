// SPDX-License-Identifier: Apache-2.0
// Fused clouds of eight Juniqs into a file of messages: the share of a core that writing takes at their
// 10 clouds/s, how many bytes that is, and what compression makes of them.
#include <benchmark/benchmark.h>

#include <ctime>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>

#include "bench/Stream.h"
#include "multi_driver/SensorModels.h"
#include "orliq/clouds/FramePlayer.h"
#include "orliq/clouds/McapSink.h"
#include "orliq/mcap/Zstd.h"

namespace {

using orliq::bench::ScratchFolder;
using orliq::bench::SharedStream;
namespace cli = orliq::cli;

constexpr int kSensors = 8;
constexpr double kCloudsPerSecond = 10.0;
constexpr std::size_t kCaptureBytes = 4'000'000;  // some frames
constexpr int kClouds = 30;                       // in a file: 3 s of it

double CpuSeconds() {
  timespec time = {};
  clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// The second frame of the stream, eight times over.
template <typename Point>
PointCloud<Point> FusedCloud() {
  auto& stream = SharedStream("juniq");
  orliq::lidar::DriverParam param;
  param.lidar_type = stream.type;
  param.input_type = orliq::lidar::InputType::Pcap;
  param.input_param.pcap_file = ScratchFolder() + "/juniq.pcap";
  param.calibration_param.check_folder = stream.check_folder;
  stream.WriteCapture(param.input_param.pcap_file, kCaptureBytes);
  cli::FramePlayer<PointCloud<Point>> player(*orliq::lidar::FindSensorModel(stream.type));
  PointCloud<Point> fused;
  if (!player.Open(param, "") || player.WaitForIndex() < 3) throw std::runtime_error("no frames");
  player.Play(0, 1, 2, [&](const auto& frame) {
    fused.timestamp = frame.cloud->timestamp;
    const auto& points = frame.cloud->points;
    for (int i = 0; i < kSensors; ++i) {
      fused.points.insert(fused.points.end(), points.begin(), points.end());
    }
  });
  return fused;
}

template <typename Point>
void Write(benchmark::State& state, bool compress) {
  static const PointCloud<Point> cloud = FusedCloud<Point>();
  const std::string path = ScratchFolder() + "/clouds.mcap";
  cli::McapSink sink(path, {cli::GrowingFile::Name::kAtOnce, true, compress},
                     {"base_link", "", {}, 0, 0, {}});
  const double begin = CpuSeconds();
  for (auto _ : state) sink.Write(cli::View(cloud), 0, 0);
  sink.Finish();
  const double clouds = static_cast<double>(state.iterations());
  const double bytes = static_cast<double>(std::filesystem::file_size(path)) / clouds;
  state.counters["core"] = (CpuSeconds() - begin) / clouds * kCloudsPerSecond;
  state.counters["MB/s"] = bytes * kCloudsPerSecond * 1e-6;
  state.counters["points"] = static_cast<double>(cloud.points.size());
  std::filesystem::remove(path);
}

template <typename Point>
void Register(const std::string& point) {
  for (const bool compress : {false, true}) {
    if (compress && !cli::HasZstd()) continue;
    benchmark::RegisterBenchmark(
        ("mcap/" + point + (compress ? "/zstd" : "/uncompressed")).c_str(),
        [compress](benchmark::State& state) { Write<Point>(state, compress); })
        ->Iterations(kClouds)
        ->Unit(benchmark::kMillisecond);
  }
}

const bool kRegistered = [] {
  Register<Point>("point");
  Register<PointSource>("point-source");
  Register<JuniqPoint>("juniq");
  return true;
}();

}  // namespace
