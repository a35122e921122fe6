// SPDX-License-Identifier: Apache-2.0
#include "orliq/capture/CaptureFile.h"

#include <pcap/pcap.h>

#include <cerrno>
#include <cstdio>
#include <filesystem>
#include <system_error>

#include "orliq/terminal/ExitCode.h"

namespace orliq::cli {
namespace {

[[noreturn]] void ThrowUnreadable(const std::string& path, const std::string& why) {
  throw Failure(ExitCode::kFileFault, "cannot read " + path + ": " + why);
}

/// Opened through a stream, as a name such as "-" would mean standard input to libpcap.
pcap_t* Open(const std::string& path) {
  std::FILE* const file = std::fopen(path.c_str(), "rbe");
  if (file == nullptr) ThrowUnreadable(path, std::generic_category().message(errno));
  char error[PCAP_ERRBUF_SIZE] = {};
  pcap_t* const capture = pcap_fopen_offline(file, error);
  if (capture == nullptr) {
    std::fclose(file);
    ThrowUnreadable(path, "it is no capture file (" + std::string(error) + ")");
  }
  return capture;
}

}  // namespace

void CaptureFile::Close::operator()(pcap* capture) const {
  pcap_close(capture);
}

CaptureFile::CaptureFile(const std::string& path)
    : file_bytes_(ReadableFileBytes(path)),
      capture_(Open(path)),
      ethernet_(pcap_datalink(capture_.get()) == DLT_EN10MB) {}

bool CaptureFile::Next() {
  pcap_pkthdr* header = nullptr;
  const int result = pcap_next_ex(capture_.get(), &header, &bytes_);
  header_ = header;
  if (result == 1) {
    ++records_;
  } else if (result != PCAP_ERROR_BREAK) {
    fault_ = pcap_geterr(capture_.get());
  }
  return result == 1;
}

double CaptureFile::Time() const {
  return static_cast<double>(header_->ts.tv_sec) + static_cast<double>(header_->ts.tv_usec) * 1e-6;
}

UdpRecord CaptureFile::Read(const Wanted& wanted) const {
  if (!ethernet_) return {Skip::kOtherLinkType, {}};
  return ReadUdpRecord(bytes_, header_->caplen, header_->len, wanted);
}

std::variant<Skip, Datagram> CaptureFile::Content(const Wanted& wanted) const {
  const UdpRecord record = Read(wanted);
  if (record.skip) return *record.skip;
  return *record.datagram;
}

std::uint64_t CaptureFile::Position() const {
  return static_cast<std::uint64_t>(std::ftell(pcap_file(capture_.get())));
}

std::string CaptureFile::LinkType() const {
  const int type = pcap_datalink(capture_.get());
  const char* const name = pcap_datalink_val_to_description(type);
  return name != nullptr ? name : "link type " + std::to_string(type);
}

std::uint64_t ReadableFileBytes(const std::string& path) {
  std::error_code error;
  const auto status = std::filesystem::status(path, error);
  if (!std::filesystem::exists(status)) ThrowUnreadable(path, "there is no such file");
  if (!std::filesystem::is_regular_file(status)) ThrowUnreadable(path, "it is not a regular file");
  return std::filesystem::file_size(path, error);
}

}  // namespace orliq::cli
