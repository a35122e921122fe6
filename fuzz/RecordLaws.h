// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <memory>
#include <string>
#include <vector>

#include "fuzz/FuzzInput.h"
#include "input/InputPcap.h"

namespace orliq::fuzz {

using Bytes = std::vector<std::uint8_t>;

inline std::unique_ptr<lidar::InputPcap> Reader(const std::string& path, std::uint16_t port) {
  Quiet();
  return std::make_unique<lidar::InputPcap>(lidar::InputParam{"", port, path});
}

/// What wants the datagrams of a capture to a port, to any, and from one sender to any.
inline std::vector<std::unique_ptr<lidar::InputPcap>> Readers(const std::string& path) {
  constexpr std::uint32_t kSender = 0xC801A8C0;  // 192.168.1.200 as it stands in a packet
  std::vector<std::unique_ptr<lidar::InputPcap>> readers;
  constexpr std::uint16_t kPorts[] = {2368, 0, 0};
  for (const std::uint16_t port : kPorts) readers.push_back(Reader(path, port));
  readers.back()->SetSource(kSender);
  return readers;
}

/// The records of a capture that went by, by what was told of each.
class PassedRecords {
 public:
  explicit PassedRecords(const std::string& path) { open_ = file_.Open(path); }

  /// What RecvPacket gave of the next one; false for the end. No more than what stands in the file.
  bool Add(int length) {
    length_ = length;
    Require((length >= 0) == (open_ && file_.Next()));
    if (length < 0) return false;
    ++records_;
    if (length > 0) ++packets_;
    const auto end = static_cast<unsigned>(length) + kHeaders;
    Require(length == 0 || end <= std::min(file_.Record().caplen, file_.Record().len));
    return true;
  }
  bool HoldsPacket() const { return length_ > 0; }

  void RequireIn(const lidar::RecordCounts& counts) const {
    Require(counts.records == records_ && counts.packets == packets_);
    Require(counts.packets + counts.empty + counts.not_udp + counts.other_port + counts.fragments +
                counts.too_short + counts.other_source ==
            records_);
    Require(counts.cut <= packets_ && counts.too_long <= packets_ && counts.damaged <= 1);
  }

 private:
  static constexpr unsigned kHeaders = 14 + 20 + 8;  // [bytes] Ethernet, IPv4, UDP

  lidar::CaptureFile file_;
  bool open_ = false;
  int length_ = 0;
  std::uint64_t records_ = 0;
  std::uint64_t packets_ = 0;
};

}  // namespace orliq::fuzz
