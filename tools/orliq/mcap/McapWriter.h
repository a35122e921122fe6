// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "orliq/mcap/McapChunk.h"
#include "orliq/mcap/McapFormat.h"

namespace orliq::cli {

/// How the messages of a channel are encoded.
struct McapSchema {
  std::string name;        ///< "sensor_msgs/msg/Imu"
  std::string encoding;    ///< "ros2msg"
  std::string definition;  ///< in that encoding
};

/// Writes MCAP from front to back: messages in chunks, each with an index of its messages behind it, and
/// a summary at the end. What has been put is readable up to there without it.
///
/// Threads: belongs to one. Failure: whatever `put` throws. It is given whole chunks, and the same one
/// again after a failure: it must have put all of it or nothing. Memory: one chunk, and some hundred bytes
/// for each that was written.
class McapWriter {
 public:
  /// Puts the next bytes of the file.
  using Put = std::function<void(std::string_view)>;

  /// A chunk that has as many bytes is due.
  static constexpr std::uint64_t kChunkBytes = std::uint64_t{4} << 20U;

  /// Puts the beginning of the file. `compress` only with HasZstd.
  McapWriter(Put put, bool compress, const std::string& program);

  /// Its number for Add. A schema of the same name is written once.
  std::uint16_t AddChannel(const std::string& topic, const McapSchema& schema);

  /// Takes a message into the present chunk. Times in nanoseconds since 1970-01-01 UTC.
  void Add(std::uint16_t channel, std::uint64_t log_time, std::string_view data);
  void Add(std::uint16_t channel, std::uint64_t log_time, const McapAppend& append);

  /// Whether a message would go into a new chunk if Flush were called now.
  bool IsChunkFull() const { return chunk_.Bytes() >= kChunkBytes; }

  /// Puts the present chunk, unless it is empty.
  void Flush();

  /// Puts the present chunk and all that ends a file. Nothing is to be added any more.
  void Close();

  /// Of the channel, those in chunks that were put.
  std::uint64_t Messages(std::uint16_t channel) const;
  /// And those that wait for it.
  std::uint64_t Pending(std::uint16_t channel) const { return chunk_.MessagesOf(channel); }
  bool HasPending() const { return !chunk_.Empty(); }
  std::uint64_t Bytes() const { return bytes_; }  ///< that were put

 private:
  struct Channel {
    std::uint16_t schema;
    std::string topic;
    std::uint64_t messages = 0;  // in chunks that were put
    std::uint32_t next = 0;      // sequence number
  };
  struct Group {
    McapRecord kind;
    std::uint64_t begin;  // in the file
    std::uint64_t bytes;
  };

  void PutAll(std::string_view bytes, std::uint32_t crc);
  std::uint16_t AddSchema(const McapSchema& schema);
  void AppendSchema(std::string& to, std::size_t index) const;
  void AppendChannel(std::string& to, std::size_t index) const;
  void AppendStatistics(std::string& to) const;
  static void AppendChunkIndex(std::string& to, const McapChunkPlace& chunk);
  static void AppendEnd(std::string& to, std::uint64_t offset, const std::vector<Group>& groups);
  std::string Summary(std::uint64_t offset) const;

  const Put put_;
  McapChunk chunk_;
  std::vector<McapSchema> schemas_;  // number 1 first
  std::vector<Channel> channels_;    // number 0 first
  std::vector<McapChunkPlace> chunks_;
  std::uint64_t bytes_ = 0;
  std::uint32_t crc_ = 0;  // of them
};

}  // namespace orliq::cli
