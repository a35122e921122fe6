// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <cstdio>
#include <map>
#include <memory>
#include <string>
#include <string_view>

#include "orliq/mcap/McapChunk.h"
#include "orliq/mcap/McapFormat.h"

namespace orliq::cli {

/// What is known of a channel of a file.
struct McapTopic {
  std::string name;      ///< "/points"
  std::string encoding;  ///< of its messages: "cdr"
  std::string schema;    ///< name of its type; empty without
};

/// Reads the messages of an MCAP file from front to back, as they lie in it, whatever its bytes are. It
/// needs no summary, so that a file that was cut is readable up to there.
///
/// Threads: belongs to one. Memory: two chunks, of at most kMaxBytes each, which a file has to fill with
/// as many bytes, compressed or not; and its channels.
class McapReader {
 public:
  static constexpr std::uint64_t kMaxBytes = std::uint64_t{512}
                                             << 20U;  // of a record, or of a chunk

  /// Whether a file begins as MCAP does; false too when it cannot be read.
  static bool IsMcap(const std::string& path);

  /// Throws Failure when the file cannot be read or does not begin so.
  explicit McapReader(const std::string& path);

  /// The next message; its data are valid until the next call. False at the end of the messages, and
  /// where nothing more can be read.
  bool Next(McapMessage& message);

  /// Of the last message; valid until the next call.
  const McapTopic& Topic() const { return *topic_; }

  /// Why Next ended before the end of the messages; empty when it did not.
  const std::string& Fault() const { return fault_; }

 private:
  struct Close {
    void operator()(std::FILE* file) const { std::fclose(file); }
  };
  struct Record {
    McapRecord kind;
    std::string_view content;
  };

  bool NextRecord(Record& record);
  bool ReadRecord(Record& record);
  bool OpenChunk(std::string_view content);
  bool Expand(std::string_view compression, std::string_view content, std::uint64_t bytes);
  bool TakeMessage(std::string_view content, McapMessage& message);
  bool TakeSchema(std::string_view content);
  bool TakeChannel(std::string_view content);
  bool End(std::string_view content);
  bool Fail(const std::string& why);

  std::unique_ptr<std::FILE, Close> file_;
  std::uint64_t rest_;        // [bytes] of the file that were not read
  std::uint64_t at_ = 0;      // where the record begins that was read last
  std::uint32_t crc_ = 0;     // of what stands before it
  std::string bytes_;         // of that record; the magic before the first
  std::string plain_;         // of the chunk, when it was compressed
  std::string_view records_;  // of the chunk, which were not given yet
  std::map<std::uint16_t, std::string> schemas_;
  std::map<std::uint16_t, McapTopic> topics_;
  const McapTopic* topic_ = nullptr;
  bool ended_ = false;
  std::string fault_;
};

}  // namespace orliq::cli
