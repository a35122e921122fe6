// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>

namespace orliq::test {

/// Builds capture files byte by byte: a file header, then records of Ethernet frames.
class CaptureBytes {
 public:
  explicit CaptureBytes(std::uint8_t link_type = 1) {
    Little(0xA1B2C3D4, 4);  // classic, microseconds
    Little(2, 2);
    Little(4, 2);
    Little(0, 8);
    Little(65535, 4);  // snap length
    Little(link_type, 4);
  }

  /// One record, half a second after the one before; `wire` 0: nothing of the frame was cut off.
  CaptureBytes& Record(const std::string& frame, std::size_t wire = 0) {
    Little(1000 + records_ / 2, 4);
    Little(records_ % 2 * 500000, 4);
    Little(frame.size(), 4);
    Little(wire == 0 ? frame.size() : wire, 4);
    bytes_ += frame;
    ++records_;
    return *this;
  }

  std::string& bytes() { return bytes_; }

  std::string Write(const std::filesystem::path& path) const {
    std::ofstream(path, std::ios::binary) << bytes_;
    return path.string();
  }

 private:
  void Little(std::uint64_t value, int width) {
    for (int i = 0; i < width; ++i) bytes_ += static_cast<char>(value >> (8 * i) & 0xFF);
  }

  std::string bytes_;
  std::uint64_t records_ = 0;
};

inline std::string Bytes(std::initializer_list<int> values) {
  std::string text;
  for (const int value : values) text += static_cast<char>(value);
  return text;
}

/// An Ethernet frame with a datagram from 10.0.0.1:7 to 10.0.0.2:`port`.
inline std::string UdpFrame(const std::string& payload, int port = 2368) {
  return std::string(12, '\x11') + Bytes({0x08, 0x00}) + Bytes({0x45, 0, 0, 0, 0, 0, 0x40, 0}) +
         Bytes({64, 17, 0, 0, 10, 0, 0, 1, 10, 0, 0, 2}) +
         Bytes({0, 7, port / 256, port % 256, 0, 0, 0, 0}) + payload;
}

/// `frame` with one byte replaced.
inline std::string Patched(std::string frame, std::size_t position, int value) {
  frame[position] = static_cast<char>(value);
  return frame;
}

/// A payload as long as `size` that begins with the identifier most models share.
inline std::string SensorPayload(std::size_t size) {
  return Bytes({0xEE, 0xFF, 0x01, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}) + std::string(size - 8, '\0');
}

}  // namespace orliq::test
