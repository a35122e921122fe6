// SPDX-License-Identifier: Apache-2.0
#include "orliq/network/PacketLook.h"

#include <pcap/pcap.h>
#include <poll.h>

#include <array>
#include <atomic>
#include <limits>
#include <thread>

#include "orliq/capture/ClosedPort.h"
#include "orliq/network/HostState.h"

namespace orliq::cli {
namespace {

constexpr std::size_t kMaxInterfaces = 32;
constexpr std::size_t kMaxFlows = 200;
constexpr std::size_t kMaxSizes = 100;  // of a flow
constexpr std::size_t kMaxClosed = 50;
constexpr int kSnapBytes = 160;          // the headers, and how a payload begins
constexpr int kRingBytes = 1024 * 1024;  // of an interface: 0.7 s of a fast sensor
constexpr int kBatchMs = 50;             // the system hands packets over so often
constexpr int kMostAtOnce = 20000;       // so that a flood cannot keep the thread from its end
// UDP, and what replies that a port is closed.
constexpr char kFilter[] = "udp or icmp[icmptype] == icmp-unreach";

struct Close {
  void operator()(pcap_t* capture) const { pcap_close(capture); }
};
using Capture = std::unique_ptr<pcap_t, Close>;

/// What has been seen so far; of one thread.
class Sight {
 public:
  void Add(const std::string& interface, const pcap_pkthdr& header, const std::uint8_t* frame) {
    constexpr Wanted kAny = {0, std::numeric_limits<std::size_t>::max(), 0};
    UdpRecord record = ReadUdpRecord(frame, header.caplen, header.len, kAny);
    if (record.skip == Skip::kNotUdp) NoteClosed(ClosedEndpoint(frame, header.caplen));
    if (record.skip == Skip::kCut) record.skip.reset();  // by this look itself
    if (!record.datagram) return;
    const auto flow = flows_.Add(record);
    if (flow && *flow == seen_.interfaces.size()) seen_.interfaces.push_back(interface);
  }

  void AddMissed(std::uint64_t packets) { seen_.missed += packets; }

  SeenPackets Take() {
    seen_.flows = std::move(flows_.Flows());
    return std::move(seen_);
  }

 private:
  void NoteClosed(const std::string& endpoint) {
    if (endpoint.empty()) return;
    if (seen_.closed.size() < kMaxClosed || seen_.closed.count(endpoint) > 0) {
      ++seen_.closed[endpoint];
    }
  }

  FlowList flows_{kMaxFlows, kMaxSizes};
  SeenPackets seen_;
};

/// The packets of one interface.
class InterfaceLook {
 public:
  InterfaceLook(std::string name, Capture capture)
      : name_(std::move(name)), capture_(std::move(capture)) {}

  int Descriptor() const { return pcap_get_selectable_fd(capture_.get()); }

  void TakeAll(Sight& sight) {
    Target target = {sight, name_};
    pcap_dispatch(capture_.get(), kMostAtOnce, &InterfaceLook::Take,
                  reinterpret_cast<u_char*>(&target));
  }

  std::uint64_t Missed() const {
    pcap_stat counts = {};
    return pcap_stats(capture_.get(), &counts) == 0 ? counts.ps_drop : 0;
  }

 private:
  struct Target {
    Sight& sight;
    const std::string& interface;
  };

  static void Take(u_char* to, const pcap_pkthdr* header, const u_char* frame) {
    const auto& target = *reinterpret_cast<const Target*>(to);
    target.sight.Add(target.interface, *header, frame);
  }

  std::string name_;
  Capture capture_;
};

/// Null, and why in `seen`, when it cannot be looked at. Never promiscuous.
Capture OpenInterface(const std::string& name, SeenPackets& seen) {
  char text[PCAP_ERRBUF_SIZE] = {};
  Capture capture(pcap_create(name.c_str(), text));
  if (!capture) return nullptr;
  pcap_t* const raw = capture.get();
  pcap_set_snaplen(raw, kSnapBytes);
  pcap_set_promisc(raw, 0);
  pcap_set_timeout(raw, kBatchMs);
  pcap_set_buffer_size(raw, kRingBytes);
  const int result = pcap_activate(raw);
  if (result < 0) {
    seen.lacks_right = result == PCAP_ERROR_PERM_DENIED;
    seen.why_not = seen.lacks_right ? "it takes the right CAP_NET_RAW" : pcap_statustostr(result);
    return nullptr;
  }
  bpf_program filter = {};
  const bool good = pcap_datalink(raw) == DLT_EN10MB && pcap_setdirection(raw, PCAP_D_IN) == 0 &&
                    pcap_compile(raw, &filter, kFilter, 1, PCAP_NETMASK_UNKNOWN) == 0 &&
                    pcap_setfilter(raw, &filter) == 0 && pcap_setnonblock(raw, 1, text) == 0;
  pcap_freecode(&filter);
  return good ? std::move(capture) : nullptr;
}

class LibpcapLook : public PacketLook {
 public:
  LibpcapLook() {
    for (const Interface& interface : ReadInterfaces()) {
      if (!interface.up || looks_.size() >= kMaxInterfaces) continue;
      Capture capture = OpenInterface(interface.name, fault_);
      if (capture) looks_.emplace_back(interface.name, std::move(capture));
    }
    if (!looks_.empty()) thread_ = std::thread([this] { Run(); });
  }
  ~LibpcapLook() override { Stop(); }

  SeenPackets Finish() override {
    Stop();
    for (const InterfaceLook& look : looks_) sight_.AddMissed(look.Missed());
    if (looks_.empty()) {
      if (fault_.why_not.empty()) fault_.why_not = "no interface with Ethernet headers is up";
      return std::move(fault_);
    }
    SeenPackets seen = sight_.Take();
    seen.interfaces_looked_at = looks_.size();
    return seen;
  }

 private:
  void Stop() {
    over_ = true;
    if (thread_.joinable()) thread_.join();
  }

  /// After the end once more: what came before it may still have waited for its batch.
  void Run() {
    while (!over_) TakeBatch(kBatchMs);
    for (int i = 0; i < 2; ++i) TakeBatch(kBatchMs);
  }

  void TakeBatch(int patience_ms) {
    std::vector<pollfd> waits;
    for (const InterfaceLook& look : looks_) waits.push_back({look.Descriptor(), POLLIN, 0});
    ::poll(waits.data(), waits.size(), patience_ms);
    for (InterfaceLook& look : looks_) look.TakeAll(sight_);
  }

  std::vector<InterfaceLook> looks_;
  SeenPackets fault_;  // when there are none
  Sight sight_;        // of the thread, until it has ended
  std::atomic<bool> over_{false};
  std::thread thread_;
};

}  // namespace

std::unique_ptr<PacketLook> BeginPacketLook() {
  return std::make_unique<LibpcapLook>();
}

}  // namespace orliq::cli
