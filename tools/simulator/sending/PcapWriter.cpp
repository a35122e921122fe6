// SPDX-License-Identifier: Apache-2.0
#include "simulator/sending/PcapWriter.h"

#include <fcntl.h>
#include <pcap/pcap.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cmath>
#include <cstdio>
#include <system_error>
#include <utility>

namespace orliq::sim {
namespace {

namespace fs = std::filesystem;

constexpr int kSnapLength = 65535 + 14;  // [bytes] the longest IPv4 packet and its Ethernet header
constexpr std::uint64_t kFileHeader = 24;    // [bytes]
constexpr std::uint64_t kRecordHeader = 16;  // [bytes]
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

/// Empties and locks the file, or makes it; null, with errno, when that cannot be done or another
/// writer has it.
std::FILE* OpenAlone(const fs::path& path) {
  const int descriptor = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC, 0666);
  if (descriptor < 0) return nullptr;
  struct stat opened = {};
  struct stat named = {};  // another one, once a writer that was just ending has renamed its own
  const bool locked = ::flock(descriptor, LOCK_EX | LOCK_NB) == 0 || errno != EWOULDBLOCK;
  if (!locked || ::fstat(descriptor, &opened) != 0 || ::stat(path.c_str(), &named) != 0 ||
      opened.st_ino != named.st_ino) {
    errno = EBUSY;
  } else if (::ftruncate(descriptor, 0) == 0) {
    return ::fdopen(descriptor, "wb");
  }
  const int fault = errno;
  ::close(descriptor);
  errno = fault;
  return nullptr;
}

}  // namespace

struct PcapWriter::Impl {
  Impl(fs::path target_path, UdpFramer udp_framer)
      : target(std::move(target_path)), part(target), framer(udp_framer) {
    part += ".part";
  }

  bool Open() {
    handle.reset(pcap_open_dead(DLT_EN10MB, kSnapLength));
    std::FILE* const file = OpenAlone(part);
    if (handle && file != nullptr) dump.reset(pcap_dump_fopen(handle.get(), file));
    if (!dump && file != nullptr) std::fclose(file);
    return dump != nullptr;
  }

  bool Write(const std::vector<std::uint8_t>& frame, double time_s) {
    pcap_pkthdr header{};
    header.ts = RecordTime(time_s);
    header.caplen = static_cast<bpf_u_int32>(frame.size());
    header.len = header.caplen;
    pcap_dump(reinterpret_cast<u_char*>(dump.get()), &header, frame.data());
    if (!Taken(true)) return false;
    bytes += kRecordHeader + frame.size();
    return true;
  }

  bool MayWrite(const std::vector<std::uint8_t>& payload, double time_s) const {
    errno = EINVAL;
    return dump && 0.0 <= time_s && time_s < kEndOfTime && payload.size() <= UdpFramer::kMaxPayload;
  }

  bool Flush() {
    if (!dump || !Taken(pcap_dump_flush(dump.get()) == 0)) return false;
    flushed_bytes = bytes;
    return true;
  }

  /// Whether the disk has taken everything so far. What it has once refused is gone from the buffer,
  /// so that the next flush may well succeed: the first fault stays, and is the errno of every later
  /// failure.
  bool Taken(bool done) {
    if (!lost && (!done || std::ferror(pcap_dump_file(dump.get())) != 0)) {
      lost = std::error_code(errno != 0 ? errno : EIO, std::generic_category());
    }
    if (lost) errno = lost.value();
    return !lost;
  }

  /// Gives the file its name, or removes it when a fault has come before.
  bool Finish(std::error_code fault, std::string& error) {
    if (!fault) fs::rename(part, target, fault);
    if (!fault) return true;
    error = "cannot write " + target.string() + ": " + fault.message();
    fs::remove(part, fault);
    return false;
  }

  fs::path target;
  fs::path part;  // where the records go until Close
  UdpFramer framer;
  std::uint64_t bytes = kFileHeader;
  std::uint64_t flushed_bytes = 0;
  std::error_code lost;  // why the disk did not take something
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
    error =
        errno == EBUSY ? "another program is writing it" : std::generic_category().message(errno);
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
  return impl_->MayWrite(payload, time_s) && impl_->Write(impl_->framer.Frame(payload), time_s);
}

bool PcapWriter::Write(const std::vector<std::uint8_t>& payload, double time_s,
                       const UdpEndpoints& endpoints) {
  return impl_->MayWrite(payload, time_s) &&
         impl_->Write(impl_->framer.Frame(payload, endpoints), time_s);
}

bool PcapWriter::Flush() {
  return impl_->Flush();
}

bool PcapWriter::Close(std::string& error) {
  if (!impl_->dump) {
    error = impl_->target.string() + " is closed already";
    return false;
  }
  (void)impl_->Flush();
  impl_->dump.reset();
  return impl_->Finish(impl_->lost, error);
}

bool PcapWriter::CloseAtLastFlush(std::string& error) {
  impl_->dump.reset();  // which may write some more of what the disk could not take
  std::error_code fault;
  fs::resize_file(impl_->part, impl_->flushed_bytes, fault);
  return impl_->Finish(fault, error);
}

std::uint64_t PcapWriter::Bytes() const {
  return impl_->bytes;
}

}  // namespace orliq::sim
