// SPDX-License-Identifier: Apache-2.0
// A sensor on loopback, and who keeps up with it: the driver beside a bare recvfrom loop, in packets
// without loss, CPU time, and the time from a frame's last packet to the callback.
#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <functional>
#include <iostream>

#include "bench/JuniqStream.h"
#include "bench/LiveReceiver.h"
#include "simulator/sending/Pacer.h"
#include "simulator/sending/UdpSender.h"
#include "tests/support/Loopback.h"

namespace {

using orliq::bench::BareReceiver;
using orliq::bench::Clock;
using orliq::bench::DriverReceiver;
using orliq::bench::LiveReceiver;
using orliq::bench::SleepingLoops;
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
  std::vector<double> latency_us;  // from sending a frame's last packet; sorted; empty after a loss
  double stop_ms = 0.0;
};

/// Sends whole frames at `rate` packets per second for about `seconds`; returns when the last packet
/// of each frame was given to the system.
std::vector<Clock::time_point> SendFrames(std::uint16_t port, double rate, double seconds,
                                          std::uint64_t& sent) {
  const auto& packets = orliq::bench::SharedStream().packets;
  std::string error;
  const auto sender = orliq::sim::UdpSender::Create("127.0.0.1", port, error);
  orliq::sim::MonotonicClock clock;
  orliq::sim::Pacer pacer(1.0, clock, [] { return false; });
  const auto total = static_cast<std::uint64_t>(rate * seconds / 768 + 1) * 768;
  std::vector<Clock::time_point> last_packets;
  last_packets.reserve(total / 768);
  for (std::uint64_t i = 0; i < total; ++i) {
    pacer.WaitUntilDue(static_cast<double>(i) / rate);
    if (i % 768 == 767) last_packets.push_back(Clock::now());
    sender->Send(packets[i % packets.size()].data(), packets[i % packets.size()].size());
  }
  sent = sender->Datagrams();
  return last_packets;
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

Result Measure(const MakeReceiver& make, double rate, double seconds) {
  const std::uint16_t port = orliq::test::FreePort();
  const auto receiver = make(port);
  Result result;
  const double cpu = CpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - CpuSeconds(CLOCK_THREAD_CPUTIME_ID);
  const auto begin = Clock::now();
  const auto last_packets = SendFrames(port, rate, seconds, result.sent);
  result.seconds = Seconds(Clock::now() - begin).count();
  WaitForTheRest(*receiver, result.sent);
  result.cpu_seconds =
      CpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - CpuSeconds(CLOCK_THREAD_CPUTIME_ID) - cpu;
  result.received = receiver->Packets();
  result.stop_ms = Seconds(receiver->Stop()).count() * 1e3;
  if (result.received == result.sent && receiver->Frames().size() == last_packets.size()) {
    for (std::size_t i = 0; i < last_packets.size(); ++i) {
      result.latency_us.push_back(Seconds(receiver->Frames()[i] - last_packets[i]).count() * 1e6);
    }
    std::sort(result.latency_us.begin(), result.latency_us.end());
  }
  return result;
}

void PrintRow(const char* name, const Result& r) {
  const auto quantile = [&r](double share) {
    return r.latency_us.empty() ? -1.0
                                : r.latency_us[static_cast<std::size_t>(
                                      share * static_cast<double>(r.latency_us.size() - 1))];
  };
  std::printf("%-8s %10.0f %10llu %8llu %12.2f %10.0f %10.0f %8.2f\n", name,
              static_cast<double>(r.sent) / r.seconds, static_cast<unsigned long long>(r.sent),
              static_cast<unsigned long long>(r.sent - r.received),
              r.cpu_seconds / static_cast<double>(r.sent) * 1e6, quantile(0.5), quantile(0.99),
              r.stop_ms);
  std::fflush(stdout);
}

/// The highest of the rates in steps of a quarter that loses nothing in `seconds`.
double HighestRate(const MakeReceiver& make, double seconds) {
  double highest = 0.0;
  for (double rate = 51.2e3; rate < 2e6; rate *= 1.25) {
    const Result result = Measure(make, rate, seconds);
    const double reached = static_cast<double>(result.sent) / result.seconds;
    if (result.received != result.sent) break;
    highest = std::max(highest, reached);
    if (reached < 0.9 * rate) break;  // the sender is at its end
  }
  return highest;
}

/// CPU time per second of a receiver to which nobody sends.
double IdleCpu(const MakeReceiver& make, double seconds) {
  const auto receiver = make(orliq::test::FreePort());
  const double cpu = CpuSeconds(CLOCK_PROCESS_CPUTIME_ID);
  std::this_thread::sleep_for(Seconds(seconds));
  return (CpuSeconds(CLOCK_PROCESS_CPUTIME_ID) - cpu) / seconds;
}

}  // namespace

/// `--once`: everything for a moment, as a test that it still runs.
int main(int argc, char** argv) {
  const bool once = argc > 1 && std::strcmp(argv[1], "--once") == 0;
  const double unit = once ? 0.02 : 1.0;
  const std::string folder = orliq::bench::ScratchFolder() + "/check";
  orliq::bench::SharedStream();
  std::cout.rdbuf(nullptr);  // the library's own lines would tear the table
  const MakeReceiver driver = [&](auto port) {
    return std::make_unique<DriverReceiver>(port, folder);
  };
  const MakeReceiver bare = [](auto port) { return std::make_unique<BareReceiver>(port); };
  const MakeReceiver loops = [](auto port) { return std::make_unique<SleepingLoops>(port); };

  std::puts("                                         CPU s per   latency us: callback    Stop");
  std::puts("receiver  packets/s       sent     lost    M packets     median        p99      ms");
  bool received = true;
  for (const auto& [rate, seconds] : {std::pair(7680.0, 10.0), std::pair(19200.0, 60.0),
                                      std::pair(50000.0, 10.0), std::pair(100000.0, 10.0)}) {
    const Result by_driver = Measure(driver, rate, seconds * unit);
    PrintRow("driver", by_driver);
    PrintRow("bare", Measure(bare, rate, seconds * unit));
    received &= by_driver.received > 0;
  }
  std::printf("\nhighest rate without loss for %.1f s [packets/s]: driver %.0f", 3 * unit,
              HighestRate(driver, 3 * unit));
  std::printf(", bare %.0f\n", HighestRate(bare, 3 * unit));
  const double idle_driver = IdleCpu(driver, 5 * unit);
  const double idle_loops = IdleCpu(loops, 5 * unit);
  std::printf("idle CPU [%% of a core]: driver %.1f, two loops that sleep 1 us a pass %.1f\n",
              idle_driver * 100, idle_loops * 100);
  return received ? 0 : 1;
}
