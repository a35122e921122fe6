// SPDX-License-Identifier: Apache-2.0
// A sensor on loopback, and who keeps up with it, in packets without loss, CPU time, and the time from
// a frame's last packet to the callback: the driver beside a bare blocking recvfrom loop, and beside
// such a loop that decodes and filters.
#include <algorithm>
#include <cstdio>
#include <ctime>
#include <functional>
#include <iostream>
#include <set>
#include <string>

#include "bench/LiveReceiver.h"
#include "bench/Stream.h"
#include "multi_driver/SensorModels.h"
#include "simulator/sending/Pacer.h"
#include "simulator/sending/UdpSender.h"
#include "tests/support/Loopback.h"

namespace {

using orliq::bench::BareReceiver;
using orliq::bench::Clock;
using orliq::bench::DecodingReceiver;
using orliq::bench::DriverReceiver;
using orliq::bench::LiveReceiver;
using orliq::bench::SharedStream;
using orliq::bench::Stream;
using Seconds = std::chrono::duration<double>;
using MakeReceiver = std::function<std::unique_ptr<LiveReceiver>(std::uint16_t port)>;

double CpuSeconds(clockid_t clock) {
  timespec time = {};
  clock_gettime(clock, &time);
  return static_cast<double>(time.tv_sec) + static_cast<double>(time.tv_nsec) * 1e-9;
}

struct Result {
  std::uint64_t sent = 0;
  std::uint64_t received = 0;
  double seconds = 0.0;
  double cpu_seconds = 0.0;        // of all threads but the sending one
  std::vector<double> latency_us;  // from sending what closes a frame; sorted; empty after a loss
  double stop_ms = 0.0;
};

/// The place in its frame of the packet that tells the receiver that a frame is complete: the last, or
/// for some models the first of the next one.
std::uint64_t ClosingPlace(const Stream& stream) {
  const auto mark = orliq::lidar::FindSensorModel(stream.type)->frame_mark;
  return mark == orliq::lidar::FrameMark::First ? 0 : stream.packets_per_frame - 1;
}

/// Sends whole frames at `rate` packets per second for about `seconds`; returns when the packets that
/// close a frame were given to the system.
std::vector<Clock::time_point> SendFrames(const Stream& stream, std::uint16_t port, double rate,
                                          double seconds, std::uint64_t& sent) {
  const auto& packets = stream.packets;
  const std::uint64_t per_frame = stream.packets_per_frame;
  const std::uint64_t closing = ClosingPlace(stream);
  std::string error;
  const auto sender = orliq::sim::UdpSender::Create("127.0.0.1", port, error);
  orliq::sim::MonotonicClock clock;
  orliq::sim::Pacer pacer(1.0, clock, [] { return false; });
  const auto total =
      static_cast<std::uint64_t>(rate * seconds / static_cast<double>(per_frame) + 1) * per_frame;
  std::vector<Clock::time_point> closed;
  closed.reserve(total / per_frame);
  for (std::uint64_t i = 0; i < total; ++i) {
    pacer.WaitUntilDue(static_cast<double>(i) / rate);
    if (i > 0 && i % per_frame == closing) closed.push_back(Clock::now());
    sender->Send(packets[i % packets.size()].data(), packets[i % packets.size()].size());
  }
  sent = sender->Datagrams();
  return closed;
}

/// Waits until nothing has arrived for 200 ms.
void WaitForTheRest(const LiveReceiver& receiver, std::uint64_t sent) {
  std::uint64_t before = 0;
  for (int quiet = 0; quiet < 20 && receiver.Packets() < sent; ++quiet) {
    if (receiver.Packets() != before) quiet = 0;
    before = receiver.Packets();
    std::this_thread::sleep_for(std::chrono::milliseconds(10));
  }
}

Result Measure(const Stream& stream, const MakeReceiver& make, double rate, double seconds) {
  const std::uint16_t port = orliq::test::FreePort();
  const auto receiver = make(port);
  Result result;
  const double cpu = CpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - CpuSeconds(CLOCK_THREAD_CPUTIME_ID);
  const auto begin = Clock::now();
  const auto closed = SendFrames(stream, port, rate, seconds, result.sent);
  result.seconds = Seconds(Clock::now() - begin).count();
  WaitForTheRest(*receiver, result.sent);
  result.cpu_seconds =
      CpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - CpuSeconds(CLOCK_THREAD_CPUTIME_ID) - cpu;
  result.received = receiver->Packets();
  result.stop_ms = Seconds(receiver->Stop()).count() * 1e3;
  if (result.received == result.sent && receiver->Frames().size() == closed.size()) {
    for (std::size_t i = 0; i < closed.size(); ++i) {
      result.latency_us.push_back(Seconds(receiver->Frames()[i] - closed[i]).count() * 1e6);
    }
    std::sort(result.latency_us.begin(), result.latency_us.end());
  }
  return result;
}

void PrintRow(const std::string& model, const char* receiver, const Result& r) {
  const auto quantile = [&r](double share) {
    return r.latency_us.empty() ? -1.0
                                : r.latency_us[static_cast<std::size_t>(
                                      share * static_cast<double>(r.latency_us.size() - 1))];
  };
  std::printf("%-8s %-8s %10.0f %10llu %8llu %12.2f %10.0f %10.0f %8.2f\n", model.c_str(), receiver,
              static_cast<double>(r.sent) / r.seconds, static_cast<unsigned long long>(r.sent),
              static_cast<unsigned long long>(r.sent - r.received),
              r.cpu_seconds / static_cast<double>(r.sent) * 1e6, quantile(0.5), quantile(0.99),
              r.stop_ms);
  std::fflush(stdout);
}

/// The highest of the rates in steps of a quarter that loses nothing in `seconds`.
double HighestRate(const Stream& stream, const MakeReceiver& make, double seconds) {
  double highest = 0.0;
  for (double rate = 51.2e3; rate < 2e6; rate *= 1.25) {
    Result result = Measure(stream, make, rate, seconds);
    const double reached = static_cast<double>(result.sent) / result.seconds;
    if (result.received != result.sent) break;
    highest = std::max(highest, reached);
    if (reached < 0.9 * rate) break;  // the sender is at its end
  }
  return highest;
}

/// CPU time per second of so many receivers to which nobody sends.
double IdleCpu(const MakeReceiver& make, int count, double seconds) {
  std::vector<std::unique_ptr<LiveReceiver>> receivers;
  while (count-- > 0) receivers.push_back(make(orliq::test::FreePort()));
  const double cpu = CpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
  std::this_thread::sleep_for(Seconds(seconds));
  return (CpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpu) / seconds;
}

MakeReceiver DriverOf(const Stream& stream) {
  return [&stream](auto port) {
    return std::make_unique<DriverReceiver>(port, stream.type, stream.check_folder);
  };
}

MakeReceiver BareLoopFor(const Stream& stream) {
  return [&stream](auto port) {
    return std::make_unique<BareReceiver>(port, stream.packets_per_frame, ClosingPlace(stream));
  };
}

MakeReceiver DecodingLoopFor(Stream& stream) {
  return [&stream](auto port) {
    return std::make_unique<DecodingReceiver>(port, stream.type,
                                              stream.params.GetCheckParam(stream.type));
  };
}

struct Load {
  const char* model;
  double rate;  // packets/s
  double seconds;
};

double Median(const Result& result) {
  return result.latency_us.empty() ? 0.0 : result.latency_us[result.latency_us.size() / 2];
}

/// One row for the driver and one for each loop; true when the driver received something.
bool RunLoad(const Load& load, double unit) {
  Stream& stream = SharedStream(load.model);
  const auto run = [&](const char* name, const MakeReceiver& make) {
    Result result = Measure(stream, make, load.rate, load.seconds * unit);
    PrintRow(load.model, name, result);
    return result;
  };
  const Result driver = run("driver", DriverOf(stream));
  const Result decoding = run("decoding", DecodingLoopFor(stream));
  const Result bare = run("bare", BareLoopFor(stream));
  // What the decoding loop needs more than the bare one goes by decoding and filtering the frame.
  std::printf(
      "%-8s CPU driver/decoding loop %.2f; driver's way to the callback %.0f us longer than\n"
      "         the decoding loop's, which decodes and filters for %.0f us\n",
      load.model, driver.cpu_seconds / decoding.cpu_seconds, Median(driver) - Median(decoding),
      Median(decoding) - Median(bare));
  std::fflush(stdout);
  return driver.received > 0;
}

void PrintLimits(const Stream& stream, double unit) {
  const MakeReceiver driver = DriverOf(stream);
  const double highest = HighestRate(stream, driver, 3 * unit);
  const double bare = HighestRate(stream, BareLoopFor(stream), 3 * unit);
  std::printf("\nhighest rate without loss for %.1f s [packets/s]: driver %.0f, bare %.0f (%.2f)\n",
              3 * unit, highest, bare, highest / bare);
  std::printf("idle CPU [%% of a core]: one driver %.3f, eight %.3f\n",
              IdleCpu(driver, 1, 5 * unit) * 100, IdleCpu(driver, 8, 5 * unit) * 100);
}

}  // namespace

/// `live_bench [--once] [model...]`: the loads of these models, by default of all; with Juniq the
/// limits as well. `--once`: everything for a moment, as a test that it still runs.
int main(int argc, char** argv) {
  std::set<std::string> models(argv + 1, argv + argc);
  const double unit = models.erase("--once") > 0 ? 0.02 : 1.0;
  const auto asked = [&models](const char* model) {
    return models.empty() || models.count(model) > 0;
  };
  std::cout.rdbuf(nullptr);  // the library's own lines would tear the table
  std::puts(
      "                                                  CPU s per   latency us: callback    Stop");
  std::puts(
      "model    receiver  packets/s       sent     lost    M packets     median        p99      "
      "ms");
  bool received = true;
  // Juniq at 10 and 25 frames/s and beyond, Glavor at 25, Kelvane at 40 of 600 azimuths.
  for (const Load& load :
       {Load{"juniq", 7680, 10}, Load{"juniq", 19200, 60}, Load{"juniq", 50000, 60},
        Load{"juniq", 100000, 10}, Load{"glavor", 38400, 60}, Load{"kelvane", 48000, 60}}) {
    if (asked(load.model)) received &= RunLoad(load, unit);
  }
  if (asked("juniq")) PrintLimits(SharedStream("juniq"), unit);
  return received ? 0 : 1;
}
