// SPDX-License-Identifier: Apache-2.0
#include <benchmark/benchmark.h>
#include <pcap/pcap.h>

#include <chrono>
#include <condition_variable>
#include <memory>
#include <mutex>
#include <thread>

#include "bench/Stream.h"
#include "bench/plain/PlainJuniq.h"
#include "multi_driver/OrliqDriver.h"

// A 200 MB capture: indexing against a bare loop over its records, playing against libpcap and the
// plain decoder in one thread, and the time from asking for a frame to its callback.
namespace {

using Cloud = PointCloud<Point>;
constexpr std::size_t kCaptureBytes = 200'000'000;
constexpr std::size_t kFramePoints = 49152;

const std::string& CapturePath() {
  static const std::string path = [] {
    std::string name = orliq::bench::ScratchFolder() + "/capture.pcap";
    orliq::bench::SharedStream("juniq").WriteCapture(name, kCaptureBytes);
    return name;
  }();
  return path;
}

/// Plays through the public driver; one cloud is lent again and again, so it keeps its capacity.
class Player {
 public:
  explicit Player(const std::string& check_folder) {
    driver_.RegisterPointCloudCallBack(
        [this](const std::shared_ptr<Cloud>& cloud) {
          const std::lock_guard<std::mutex> lock(mutex_);
          points_ += cloud->points.size();
          ++frames_;
          arrived_.notify_one();
        },
        [this] {
          cloud_->points.clear();
          return cloud_;
        });
    driver_.RegisterExceptionCallBack([](const orliq::lidar::Error&) {});
    orliq::lidar::DriverParam param;
    param.input_type = orliq::lidar::InputType::Pcap;
    param.lidar_type = orliq::lidar::LidarType::Juniq;
    param.input_param.pcap_file = CapturePath();
    param.input_param.port = 2368;
    param.calibration_param.check_folder = check_folder;
    ok_ = driver_.InitDriver(param);
  }
  int Index() {
    int frames = -1;
    ok_ = ok_ && driver_.Start();
    while (ok_ && !driver_.GetLocalFileStatus(frames)) Pause(200);
    return frames;
  }
  void Play(int frame) {
    std::unique_lock<std::mutex> lock(mutex_);
    const std::uint64_t before = frames_;
    lock.unlock();
    while (!driver_.SetLocalFrame(frame)) Pause(10);
    lock.lock();
    arrived_.wait(lock, [&] { return frames_ > before; });
  }
  std::uint64_t Points() const { return points_; }

 private:
  /// Short against what is measured, long enough to leave the core to the worker.
  static void Pause(int time_us) {
    std::this_thread::sleep_for(std::chrono::microseconds(time_us));
  }

  bool ok_ = false;
  std::mutex mutex_;
  std::condition_variable arrived_;
  std::uint64_t frames_ = 0;
  std::uint64_t points_ = 0;
  std::shared_ptr<Cloud> cloud_ = std::make_shared<Cloud>();
  OrliqDriver<Cloud> driver_;
};

template <typename OnRecord>
std::int64_t ReadRecords(const OnRecord& on_record) {
  char error[PCAP_ERRBUF_SIZE];
  pcap_t* file = pcap_open_offline(CapturePath().c_str(), error);
  pcap_pkthdr* header = nullptr;
  const std::uint8_t* bytes = nullptr;
  std::int64_t records = 0;
  while (pcap_next_ex(file, &header, &bytes) == 1) {
    on_record(bytes);
    ++records;
  }
  pcap_close(file);
  return records;
}

void IndexPlain(benchmark::State& state) {
  CapturePath();
  std::int64_t records = 0;
  for (auto _ : state) {
    records += ReadRecords([](const std::uint8_t* bytes) { benchmark::DoNotOptimize(bytes[42]); });
  }
  state.SetItemsProcessed(records);
}

void IndexLibrary(benchmark::State& state) {
  CapturePath();
  const std::int64_t records = ReadRecords([](const std::uint8_t*) {});
  for (auto _ : state) {
    state.PauseTiming();
    auto player = std::make_unique<Player>("");
    state.ResumeTiming();
    if (player->Index() <= 0) state.SkipWithError("no frames");
    state.PauseTiming();
    player.reset();
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * records);
}

void PlayPlain(benchmark::State& state) {
  CapturePath();
  const auto check = std::make_unique<orliq::lidar::OffsetCheckParam>(
      orliq::bench::SharedStream("juniq").CheckParamOf<orliq::lidar::OffsetCheckParam>());
  orliq::bench::PlainJuniq<Point> plain(*check, {});
  std::vector<Point> points;
  points.reserve(100000);
  std::int64_t total = 0;
  for (auto _ : state) {
    total += 64 * ReadRecords([&](const std::uint8_t* bytes) {
               if (points.size() == kFramePoints) points.clear();
               plain.Decode(bytes + 42, 0, points);
             });
  }
  state.SetItemsProcessed(total);
}

void PlayLibrary(benchmark::State& state) {
  Player player(orliq::bench::ScratchFolder() + "/unfiltered");
  const int frames = player.Index();
  for (auto _ : state) {
    for (int i = 0; i < frames; ++i) player.Play(i);
  }
  state.SetItemsProcessed(static_cast<std::int64_t>(player.Points()));
}

void RequestToCallback(benchmark::State& state) {
  Player player("");
  player.Index();
  for (auto _ : state) player.Play(1);
  state.SetItemsProcessed(state.iterations());
}

BENCHMARK(IndexPlain)->Name("index/plain")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(IndexLibrary)->Name("index/library")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PlayPlain)->Name("play/plain")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(PlayLibrary)->Name("play/library")->UseRealTime()->Unit(benchmark::kMillisecond);
BENCHMARK(RequestToCallback)
    ->Name("frame_request/library")
    ->UseRealTime()
    ->Unit(benchmark::kMillisecond);

}  // namespace
