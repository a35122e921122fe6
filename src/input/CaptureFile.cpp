// SPDX-License-Identifier: Apache-2.0
#include "input/CaptureFile.h"

#include <sys/stat.h>

#include <array>
#include <cstdio>
#include <cstring>

namespace orliq::lidar {
namespace {

constexpr std::size_t kStreamBuffer =
    std::size_t{64} * 1024;                // [bytes] fewer system calls than the default
constexpr long kClassicRecordHeader = 16;  // [bytes] of the classic format

bool IsRegularFile(const std::string& path) {
  struct stat status = {};
  return ::stat(path.c_str(), &status) == 0 && S_ISREG(status.st_mode);
}

/// True for the classic format in either byte order, with microseconds or nanoseconds: its records
/// follow each other with a fixed header, so their positions can be counted.
bool IsClassicFormat(std::FILE* file) {
  std::array<std::uint8_t, 4> magic = {};
  const bool read = std::fread(magic.data(), 1, magic.size(), file) == magic.size();
  std::rewind(file);
  if (!read) return false;
  std::uint32_t number = 0;
  std::memcpy(&number, magic.data(), sizeof number);
  return number == 0xA1B2C3D4U || number == 0xD4C3B2A1U || number == 0xA1B23C4DU ||
         number == 0x4D3CB2A1U;
}

}  // namespace

bool CaptureFile::Open(const std::string& path) {
  Close();
  if (!IsRegularFile(path)) return false;
  std::FILE* file = std::fopen(path.c_str(), "rb");
  if (file == nullptr) return false;
  stream_buffer_.resize(kStreamBuffer);
  std::setvbuf(file, stream_buffer_.data(), _IOFBF, stream_buffer_.size());
  const bool classic = IsClassicFormat(file);
  sections_ = PcapngSections::Of(::fileno(file));
  char error[PCAP_ERRBUF_SIZE];
  handle_ = pcap_fopen_offline(file, error);
  if (handle_ == nullptr) {
    std::fclose(file);
    return false;
  }
  record_header_ = classic ? kClassicRecordHeader : 0;
  whole_below_ = static_cast<std::uint32_t>(pcap_snapshot(handle_));
  position_ = std::ftell(file);
  all_interfaces_ = true;
  ended_ = false;
  return true;
}

void CaptureFile::Close() {
  if (handle_ != nullptr) pcap_close(handle_);
  handle_ = nullptr;
  ended_ = true;
}

bool CaptureFile::Next() {
  const int found = ended_ ? PCAP_ERROR_BREAK : pcap_next_ex(handle_, &record_, &bytes_);
  damaged_ = found == PCAP_ERROR;
  if (found != 1) {
    ended_ = true;  // what follows a damaged record is not a record
    position_ = kUnknown;
    return false;
  }
  // Asking the stream costs a system call a record. A record that fills the snap length may have
  // been longer in the file, so there the stream is asked after all.
  const bool countable = record_header_ != 0 && record_->caplen < whole_below_;
  if (position_ != kUnknown && countable) {
    position_ += record_header_ + static_cast<long>(record_->caplen);
  } else {
    position_ = kUnknown;
  }
  return true;
}

long CaptureFile::Position() {
  if (handle_ == nullptr) return kUnknown;
  if (position_ == kUnknown) position_ = std::ftell(pcap_file(handle_));
  if (sections_ && !ended_) {
    sections_->CoverUpTo(position_);
    position_ = sections_->FindPacket(position_);
  }
  return position_;
}

void CaptureFile::Seek(long position) {
  if (handle_ == nullptr) return;
  if (sections_) RestoreInterfaces(position);
  ended_ = std::fseek(pcap_file(handle_), position, SEEK_SET) != 0;
  position_ = ended_ ? kUnknown : position;
}

/// The capture library stores each description of an interface that it passes, again and again, and
/// numbers them in the order in which they came; a section's header makes it forget them. So when
/// some stand behind the position, or did at the last move, it reads those before it afresh.
void CaptureFile::RestoreInterfaces(long position) {
  sections_->CoverUpTo(std::ftell(pcap_file(handle_)));
  const PcapngSections::Descriptions descriptions = sections_->Before(position);
  if (all_interfaces_ && descriptions.all) return;
  for (const long* begin = descriptions.begin; begin != descriptions.end; ++begin) {
    if (std::fseek(pcap_file(handle_), *begin, SEEK_SET) == 0) {
      pcap_next_ex(handle_, &record_, &bytes_);
    }
  }
  all_interfaces_ = descriptions.all;
}

}  // namespace orliq::lidar
