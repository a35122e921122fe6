// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>
#include <string_view>

// MCAP, version 0: a magic, records, and the magic again. A record is a byte that tells its kind, the
// length of what follows in eight bytes, and that. All numbers have their least byte first.
namespace orliq::cli {

constexpr std::string_view kMcapMagic("\x89MCAP0\r\n", 8);
constexpr std::size_t kMcapRecordHead = 9;  // [bytes] before the content of a record

enum class McapRecord : std::uint8_t {
  kHeader = 0x01,
  kFooter = 0x02,
  kSchema = 0x03,
  kChannel = 0x04,
  kMessage = 0x05,
  kChunk = 0x06,
  kMessageIndex = 0x07,
  kChunkIndex = 0x08,
  kStatistics = 0x0B,
  kSummaryOffset = 0x0E,
  kDataEnd = 0x0F,
};

/// Appends to a text of bytes.
class McapBytes {
 public:
  explicit McapBytes(std::string& bytes) : bytes_(bytes) {}

  template <typename Number>
  McapBytes& Put(Number number) {
    static_assert(std::is_unsigned_v<Number>);
    for (std::size_t i = 0; i < sizeof number; ++i) {
      bytes_.push_back(static_cast<char>(std::uint64_t{number} >> 8 * i & 0xFFU));
    }
    return *this;
  }

  McapBytes& PutRaw(std::string_view raw) {
    bytes_.append(raw);
    return *this;
  }

  /// Its length in four bytes, and the text.
  McapBytes& PutText(std::string_view text) {
    return Put(static_cast<std::uint32_t>(text.size())).PutRaw(text);
  }

 private:
  std::string& bytes_;
};

/// Appends a record; its length is filled in at the end of this.
class McapRecordBytes : public McapBytes {
 public:
  McapRecordBytes(std::string& bytes, McapRecord kind) : McapBytes(bytes), bytes_(bytes) {
    Put(static_cast<std::uint8_t>(kind));
    content_ = bytes.size() + sizeof(std::uint64_t);
    Put(std::uint64_t{0});
  }
  ~McapRecordBytes() {
    const std::uint64_t length = bytes_.size() - content_;
    for (std::size_t i = 0; i < sizeof length; ++i) {
      bytes_[content_ - sizeof length + i] = static_cast<char>(length >> 8 * i & 0xFFU);
    }
  }
  McapRecordBytes(const McapRecordBytes&) = delete;
  McapRecordBytes& operator=(const McapRecordBytes&) = delete;

 private:
  std::string& bytes_;
  std::size_t content_;
};

/// Takes numbers and texts from the front of bytes that may hold anything: behind the end there are
/// zeros, and it says so.
class McapFields {
 public:
  explicit McapFields(std::string_view bytes) : rest_(bytes) {}

  template <typename Number>
  Number Take() {
    const std::string_view raw = TakeRaw(sizeof(Number));
    std::uint64_t number = 0;
    for (std::size_t i = 0; i < raw.size(); ++i) {
      number |= std::uint64_t{static_cast<std::uint8_t>(raw[i])} << 8 * i;
    }
    return static_cast<Number>(number);
  }

  /// Nothing when there are not so many.
  std::string_view TakeRaw(std::uint64_t size) {
    if (size > rest_.size()) {
      ended_early_ = true;
      rest_ = {};
      return {};
    }
    const std::string_view raw = rest_.substr(0, static_cast<std::size_t>(size));
    rest_.remove_prefix(raw.size());
    return raw;
  }

  std::string_view TakeText() { return TakeRaw(Take<std::uint32_t>()); }

  std::string_view Rest() const { return rest_; }
  bool EndedEarly() const { return ended_early_; }

 private:
  std::string_view rest_;
  bool ended_early_ = false;
};

}  // namespace orliq::cli
