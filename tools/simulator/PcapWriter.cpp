// SPDX-License-Identifier: Apache-2.0
#include "simulator/PcapWriter.h"

#include <pcap/pcap.h>

#include <cmath>
#include <cstdio>
#include <system_error>
#include <utility>

namespace orliq::sim {
namespace {

namespace fs = std::filesystem;

constexpr int kSnapLength = 65535 + 14;  // [bytes] the longest IPv4 packet and its Ethernet header
constexpr double kEndOfTime = 2147483647.0;  // [s] readers take the 32 bits of a time as signed

struct ClosePcap {
  void operator()(pcap_t* handle) const { pcap_close(handle); }
};
struct CloseDump {
  void operator()(pcap_dumper_t* dump) const { pcap_dump_close(dump); }
};

timeval RecordTime(double time_s) {
  const auto seconds = static_cast<long>(std::floor(time_s));
  const long micros = std::lround((time_s - static_cast<double>(seconds)) * 1e6);
  return {seconds + micros / 1000000, micros % 1000000};
}

}  // namespace

struct PcapWriter::Impl {
  Impl(fs::path target_path, UdpFramer udp_framer)
      : target(std::move(target_path)), part(target), framer(udp_framer) {
    part += ".part";
  }

  bool Open() {
    handle.reset(pcap_open_dead(DLT_EN10MB, kSnapLength));
    dump.reset(handle ? pcap_dump_open(handle.get(), part.c_str()) : nullptr);
    return dump != nullptr;
  }

  fs::path target;
  fs::path part;  // where the records go until Close
  UdpFramer framer;
  std::unique_ptr<pcap_t, ClosePcap> handle;
  std::unique_ptr<pcap_dumper_t, CloseDump> dump;  // null once closed
};

PcapWriter::PcapWriter(std::unique_ptr<Impl> impl) : impl_(std::move(impl)) {}

std::unique_ptr<PcapWriter> PcapWriter::Create(const fs::path& path, const UdpFlow& flow,
                                               std::string& error) {
  const auto framer = UdpFramer::Create(flow);
  if (!framer) {
    error = "not an IPv4 address: " + flow.source_ip + " or " + flow.destination_ip;
    return nullptr;
  }
  std::error_code fault;
  if (fs::exists(path, fault) && !fs::is_regular_file(path, fault)) {
    error = path.string() + " exists and is not a plain file";
    return nullptr;
  }
  auto impl = std::make_unique<Impl>(path, *framer);
  if (!impl->Open()) {
    error = impl->handle ? pcap_geterr(impl->handle.get()) : "out of memory";
    return nullptr;
  }
  return std::unique_ptr<PcapWriter>(new PcapWriter(std::move(impl)));
}

PcapWriter::~PcapWriter() {
  if (impl_->dump) {
    impl_->dump.reset();
    std::error_code ignored;
    fs::remove(impl_->part, ignored);
  }
}

bool PcapWriter::Write(const std::vector<std::uint8_t>& payload, double time_s) {
  const bool in_time = 0.0 <= time_s && time_s < kEndOfTime;
  if (!impl_->dump || !in_time || payload.size() > UdpFramer::kMaxPayload) {
    return false;
  }
  const auto frame = impl_->framer.Frame(payload);
  pcap_pkthdr header{};
  header.ts = RecordTime(time_s);
  header.caplen = static_cast<bpf_u_int32>(frame.size());
  header.len = header.caplen;
  pcap_dump(reinterpret_cast<u_char*>(impl_->dump.get()), &header, frame.data());
  return std::ferror(pcap_dump_file(impl_->dump.get())) == 0;
}

bool PcapWriter::Close(std::string& error) {
  if (!impl_->dump) {
    error = impl_->target.string() + " is closed already";
    return false;
  }
  const bool complete = pcap_dump_flush(impl_->dump.get()) == 0 &&
                        std::ferror(pcap_dump_file(impl_->dump.get())) == 0;
  impl_->dump.reset();
  std::error_code fault;
  if (complete) {
    fs::rename(impl_->part, impl_->target, fault);
    if (!fault) {
      return true;
    }
  }
  error = "cannot write " + impl_->target.string() + (fault ? ": " + fault.message() : "");
  fs::remove(impl_->part, fault);
  return false;
}

}  // namespace orliq::sim
