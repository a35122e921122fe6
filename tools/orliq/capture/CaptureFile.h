// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <variant>

#include "orliq/capture/UdpRecord.h"

struct pcap;
struct pcap_pkthdr;

namespace orliq::cli {

/// A capture file (pcap or pcapng) read once from front to back.
class CaptureFile {
 public:
  /// Throws Failure when the file cannot be opened or is no capture.
  explicit CaptureFile(const std::string& path);

  /// Goes to the next record. False at the end of the file, and where it is malformed.
  bool Next();

  // Of the present record.
  double Time() const;  ///< [s] UTC
  /// What stands in it; valid until Next.
  UdpRecord Read(const Wanted& wanted) const;
  /// The datagram in it, if it is wanted and whole, else the reason; valid until Next.
  std::variant<Skip, Datagram> Content(const Wanted& wanted) const;

  std::uint64_t Records() const { return records_; }  ///< so far
  std::uint64_t Position() const;                     ///< bytes of the file that have been read
  std::uint64_t FileBytes() const { return file_bytes_; }
  std::string LinkType() const;

  /// Why Next ended before the end of the file; empty when it did not.
  const std::string& Fault() const { return fault_; }

 private:
  struct Close {
    void operator()(pcap* capture) const;
  };

  std::uint64_t file_bytes_;
  std::unique_ptr<pcap, Close> capture_;
  bool ethernet_;
  std::uint64_t records_ = 0;
  const pcap_pkthdr* header_ = nullptr;
  const std::uint8_t* bytes_ = nullptr;
  std::string fault_;
};

/// Size of a regular file that can be read; throws Failure otherwise.
std::uint64_t ReadableFileBytes(const std::string& path);

}  // namespace orliq::cli
