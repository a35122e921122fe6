// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

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
  CaptureBuilder& Udp(const Bytes& payload, std::uint16_t port = 2368) {
    return Record(Frame(payload, port));
  }

  /// Ethernet, IPv4 and UDP headers around the payload; `protocol` 6 makes it TCP.
  static Bytes Frame(const Bytes& payload, std::uint16_t port, std::uint8_t protocol = 17) {
    Bytes frame(12, 0x02);
    const auto be16 = [&frame](std::size_t value) {
      frame.push_back(static_cast<std::uint8_t>(value >> 8));
      frame.push_back(static_cast<std::uint8_t>(value));
    };
    be16(0x0800);
    const Bytes ip = {0x45, 0};
    frame.insert(frame.end(), ip.begin(), ip.end());
    be16(28 + payload.size());
    const Bytes rest = {0, 0, 0, 0, 64, protocol, 0, 0, 192, 168, 1, 200, 192, 168, 1, 102};
    frame.insert(frame.end(), rest.begin(), rest.end());
    be16(2368);
    be16(port);
    be16(8 + payload.size());
    be16(0);
    frame.insert(frame.end(), payload.begin(), payload.end());
    return frame;
  }

  std::string Write(const std::filesystem::path& path) const {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes_.data()),
               static_cast<std::streamsize>(bytes_.size()));
    return path.string();
  }
  const Bytes& bytes() const { return bytes_; }

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
