// SPDX-License-Identifier: Apache-2.0
// Eight Juniqs at 10 frames/s on loopback, fused by one driver: packets lost, CPU time, and the time
// from the last sensor's frame to the fused cloud. And fusion alone beside a memcpy of the same bytes.
#include <algorithm>
#include <atomic>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <iostream>
#include <mutex>
#include <set>
#include <string>
#include <thread>

#include "bench/Stream.h"
#include "driver/Fusion.h"
#include "multi_driver/OrliqMultiDriver.h"
#include "simulator/sending/Pacer.h"
#include "simulator/sending/UdpSender.h"
#include "tests/support/Loopback.h"

namespace {

using orliq::bench::SharedStream;
using orliq::bench::Stream;
using Clock = std::chrono::steady_clock;
using Cloud = PointCloud<Point>;
using Seconds = std::chrono::duration<double>;

constexpr std::size_t kSensors = 8;
constexpr double kFramesPerSecond = 10.0;

double CpuSeconds(clockid_t clock) {
  timespec time = {};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

/// Of all threads but this one, which sends.
double ReceivingCpuSeconds() {
  return CpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - CpuSeconds(CLOCK_THREAD_CPUTIME_ID);
}

/// A driver of all sensors, and how old the newest frame of each round was.
class Robot {
 public:
  explicit Robot(const Stream& stream) : params_(kSensors) {
    for (auto& param : params_) {
      param.lidar_type = stream.type;
      param.input_param = {"127.0.0.1", orliq::test::FreePort(), ""};
      param.calibration_param.check_folder = stream.check_folder;
    }
    driver_.RegisterPointCloudCallBack([this](const std::shared_ptr<Cloud>&) { NoteRound(); },
                                       [this] {
                                         cloud_->points.clear();
                                         return cloud_;
                                       });
    running_ = driver_.InitDriver({0, kSensors, params_.data()}) && driver_.Start();
  }

  bool Running() const { return running_; }
  std::uint16_t Port(std::size_t sensor) const { return params_[sensor].input_param.port; }
  std::uint64_t Decoded() const {
    std::uint64_t decoded = 0;
    for (std::size_t i = 0; i < kSensors; ++i) {
      orliq::lidar::DriverStatistics statistics;
      if (driver_.GetStatistics(i, statistics)) decoded += statistics.decoded;
    }
    return decoded;
  }
  /// Sorted, of a driver that has stopped.
  std::vector<double> StopAndTellLatencies() {
    driver_.Stop();
    std::sort(latency_ms_.begin(), latency_ms_.end());
    return latency_ms_;
  }

 private:
  void NoteRound() {
    orliq::lidar::FusionRound round;
    driver_.GetFusionRound(round);
    const auto newest =
        std::min_element(round.sensors.begin(), round.sensors.end(),
                         [](const auto& a, const auto& b) { return a.age_s < b.age_s; });
    latency_ms_.push_back(newest->age_s * 1e3);
  }

  std::vector<orliq::lidar::DriverParam> params_;
  std::shared_ptr<Cloud> cloud_ = std::make_shared<Cloud>();  // lent again and again
  std::vector<double> latency_ms_;                            // of the fusion thread
  bool running_ = false;
  OrliqMultiDriver<Cloud> driver_;  // last: its threads use everything above
};

/// All sensors side by side at their pace; the packets sent.
std::uint64_t Send(const Stream& stream, const Robot& robot, double seconds) {
  std::vector<std::unique_ptr<orliq::sim::UdpSender>> senders;
  std::string error;
  for (std::size_t i = 0; i < kSensors; ++i) {
    senders.push_back(orliq::sim::UdpSender::Create("127.0.0.1", robot.Port(i), error));
  }
  orliq::sim::MonotonicClock clock;
  orliq::sim::Pacer pacer(1.0, clock, [] { return false; });
  const double rate = kFramesPerSecond * static_cast<double>(stream.packets_per_frame);
  const auto frames = static_cast<std::size_t>(seconds * kFramesPerSecond) + 2;
  const std::size_t packets = frames * stream.packets_per_frame;
  for (std::size_t i = 0; i < packets; ++i) {
    pacer.WaitUntilDue(static_cast<double>(i) / rate);
    const auto& packet = stream.packets[i % stream.packets.size()];
    for (const auto& sender : senders) sender->Send(packet.data(), packet.size());
  }
  return packets * kSensors;
}

bool RunLive(double seconds) {
  const Stream& stream = SharedStream("juniq");
  Robot robot(stream);
  if (!robot.Running()) return false;
  const double cpu = ReceivingCpuSeconds();
  const auto begin = Clock::now();
  const std::uint64_t sent = Send(stream, robot, seconds);
  for (int i = 0; i < 100 && robot.Decoded() < sent; ++i) {
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
  const double elapsed = Seconds(Clock::now() - begin).count();
  const double used = ReceivingCpuSeconds() - cpu;
  const std::uint64_t decoded = robot.Decoded();
  const auto latency = robot.StopAndTellLatencies();
  if (latency.empty()) return false;
  std::printf(
      "%zu juniq live: sent %llu packets in %.1f s, lost %llu, rounds %zu, CPU %.2f s/s, "
      "last frame to fused cloud median %.2f p99 %.2f max %.2f ms\n",
      kSensors, static_cast<unsigned long long>(sent), elapsed,
      static_cast<unsigned long long>(sent - decoded), latency.size(), used / elapsed,
      latency[latency.size() / 2], latency[(latency.size() - 1) * 99 / 100], latency.back());
  return true;
}

/// Points per second of fusing the same frames again and again, in one thread's rounds.
double FusedPointsPerSecond(const std::shared_ptr<Cloud>& frame, int rounds) {
  const auto fusion = std::make_shared<orliq::lidar::Fusion<Cloud>>();
  orliq::lidar::Fusion<Cloud>::Slots slots;
  for (std::size_t i = 0; i < kSensors; ++i) {
    slots.push_back(std::make_shared<orliq::lidar::FusionSlot<Cloud>>(fusion->Arrival()));
  }
  auto out = std::make_shared<Cloud>();
  std::atomic<int> done{-1};  // the first round only makes room
  Clock::time_point begin;
  Clock::time_point end;
  const auto put_all = [&] {
    for (const auto& slot : slots) slot->PutPointCloud(frame);
  };
  const auto receive = [&](const std::shared_ptr<Cloud>&) {
    if (++done == 0) begin = Clock::now();
    if (done == rounds) end = Clock::now();
  };
  const auto supply = [&] {
    out->points.clear();
    if (done >= 0 && done < rounds) put_all();
    return out;
  };
  put_all();
  if (!fusion->StartFusion(slots, receive, supply)) return 0.0;
  while (done < rounds) std::this_thread::sleep_for(std::chrono::milliseconds(1));
  fusion->StopFusion();
  const double points = static_cast<double>(frame->points.size() * kSensors) * rounds;
  return points / Seconds(end - begin).count();
}

double CopiedPointsPerSecond(const Cloud& frame, int rounds) {
  const std::size_t count = frame.points.size();
  std::vector<Point> out(count * kSensors);
  const auto begin = Clock::now();
  for (int round = 0; round < rounds; ++round) {
    for (std::size_t i = 0; i < kSensors; ++i) {
      std::memcpy(static_cast<void*>(out.data() + i * count), frame.points.data(),
                  count * sizeof(Point));
    }
  }
  return static_cast<double>(count * kSensors) * rounds / Seconds(Clock::now() - begin).count();
}

void RunCopies(int rounds) {
  const auto frame = std::make_shared<Cloud>();
  frame->points.resize(49152);
  for (int i = 0; i < 3; ++i) {
    const double fused = FusedPointsPerSecond(frame, rounds);
    const double copied = CopiedPointsPerSecond(*frame, rounds);
    std::printf("fused %.0f million points/s, memcpy %.0f, ratio %.2f\n", fused * 1e-6,
                copied * 1e-6, fused / copied);
  }
}

}  // namespace

/// `fusion_bench [--once]`: 60 s live and the copies; `--once`: for a moment, as a test that it still
/// runs.
int main(int argc, char** argv) {
  const bool once = argc > 1 && std::string(argv[1]) == "--once";
  std::cout.rdbuf(nullptr);  // the library's own lines would tear the figures
  RunCopies(once ? 2 : 500);
  return RunLive(once ? 0.3 : 60.0) ? 0 : 1;
}
