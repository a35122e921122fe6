// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "support/JuniqPacket.h"

namespace orliq::test {

using Bytes = std::vector<std::uint8_t>;

/// Writes a classic little-endian capture byte by byte, malformed records included.
class CaptureBuilder {
 public:
  explicit CaptureBuilder(std::uint32_t snap_length = 65535, std::uint32_t link_type = 1) {
    Le32(0xA1B2C3D4).Le16(2).Le16(4).Le32(0).Le32(0).Le32(snap_length).Le32(link_type);
  }

  /// A record as it stands in the file. `wire_length` 0: as long as its bytes.
  CaptureBuilder& Record(const Bytes& frame, std::uint32_t wire_length = 0) {
    const auto captured = static_cast<std::uint32_t>(frame.size());
    Le32(seconds_++).Le32(0).Le32(captured).Le32(wire_length == 0 ? captured : wire_length);
    bytes_.insert(bytes_.end(), frame.begin(), frame.end());
    return *this;
  }
  CaptureBuilder& Udp(const Bytes& payload, unsigned port = 2368) {
    return Record(Frame(payload, port));
  }
  CaptureBuilder& Udp(const JuniqPacket& packet) { return Udp(packet.payload()); }

  /// Ethernet, IPv4 and UDP headers around the payload; `protocol` 6 makes it TCP.
  static Bytes Frame(const Bytes& payload, unsigned port, std::uint8_t protocol = 17) {
    Bytes frame = {
        2,    2,   2, 2,   2,   2,   2, 2,   2,  2,        2, 2, 8, 0,  // MAC, IPv4 follows
        0x45, 0,   0, 0,   0,   0,   0, 0,   64, protocol, 0, 0,        // 20 bytes of IP
        192,  168, 1, 200, 192, 168, 1, 102, 9,  0x40,     0, 0, 0, 0, 0, 0};
    const auto put = [&frame](std::size_t at, std::size_t value) {
      frame[at] = static_cast<std::uint8_t>(value >> 8);
      frame[at + 1] = static_cast<std::uint8_t>(value);
    };
    put(16, 28 + payload.size());
    put(36, port);
    put(38, 8 + payload.size());
    frame.resize(42 + payload.size());
    std::copy(payload.begin(), payload.end(), frame.begin() + 42);
    return frame;
  }

  /// The frame with further bytes before position `at`: a VLAN tag, IP options.
  static Bytes Widened(Bytes frame, std::size_t at, const Bytes& more) {
    frame.insert(frame.begin() + static_cast<std::ptrdiff_t>(at), more.begin(), more.end());
    return frame;
  }
  static Bytes VlanTagged(const Bytes& frame) { return Widened(frame, 12, {0x81, 0, 0, 5}); }

  std::string Write(const std::filesystem::path& path) const {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes_.data()),
               static_cast<std::streamsize>(bytes_.size()));
    return path.string();
  }
  Bytes& bytes() { return bytes_; }

 private:
  CaptureBuilder& Le16(std::uint32_t value) {
    bytes_.push_back(static_cast<std::uint8_t>(value));
    bytes_.push_back(static_cast<std::uint8_t>(value >> 8));
    return *this;
  }
  CaptureBuilder& Le32(std::uint32_t value) { return Le16(value).Le16(value >> 16); }

  Bytes bytes_;
  std::uint32_t seconds_ = 1700000000;
};

}  // namespace orliq::test
